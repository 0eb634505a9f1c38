#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/files/EntryTable.h"
#include "output/Json.h"

// What the commands have in common that put labels on paths and take them off. They read the disk before they lock the
// store: however long that takes, no other command waits for it. What changes in between could as well have changed a
// moment later. A file that is removed leaves its label on a missing path, one that gets another content is not the one
// that may be shared. A label is known by its UUID from then on: under another name it is the same, and once deleted it
// is refused.
namespace project_share {

using Paths = std::vector<std::string>;
struct LabelWords;

// The labels that the words mean, each once. One that is to be created has no UUID yet. Errors: LABEL_NOT_FOUND, which
// tells of words in the wrong order where that is why, and how the label is created; LABEL_AMBIGUOUS, LABEL_MALFORMED.
std::vector<folder_host::LabelRecord> labelsNamed(const folder_host::FolderProject& project, const LabelWords& words,
                                                  const Paths& named);

// In the edit that needs them, those that have no UUID. Error: LABEL_NAME_TAKEN, also where another command made one
// meanwhile.
void createNamed(const folder_host::FolderProject& project, std::vector<folder_host::LabelRecord>& labels);

// Error: LABEL_NOT_FOUND where it was deleted meanwhile.
std::size_t indexOf(const folder_host::LabelSources& sources, const folder_host::LabelRecord& label);

std::set<std::string> setOf(const Paths& paths);
// Names, in quotes, as far as anyone reads them.
std::string listOf(const Paths& paths);
Json jsonOfPaths(const Paths& paths);

// What had the label under another name and is to have it no more, where the edit takes it off, or had it not; and what
// is lost with it. It is said for each, by its name, because it can let something out.
Paths settledBy(const folder_host::Settled& edit, const folder_host::Followed& followed,
                const folder_host::EntryTable& table);
std::string settledText(const folder_host::LabelRecord& label, const Paths& settled);

}  // namespace project_share
