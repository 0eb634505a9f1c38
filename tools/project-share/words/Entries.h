#pragma once

#include <string>

#include "Refusal.h"
#include "folder_host/files/EntryTable.h"

namespace project_share {

// Of a path of the project at which nothing is: "; did you mean 'drafts/plan.txt'?", behind a sentence. Meant is the
// nearest name in that folder or, where none is near, the same name elsewhere. Empty where there is neither.
std::string entryHint(const std::string& root, const folder_host::EntryTable& entries, const std::string& path);

// PATH_NOT_AN_ENTRY, of what a person named so.
Refusal noEntry(const std::string& root, const folder_host::EntryTable& entries, const std::string& path,
                const std::string& named);

// Whether a shell that finds files by the word would leave it as it is where it finds none.
bool isGlob(const std::string& word);

// Of a word that no shell has replaced by the files that it matches: the commands that attach or detach the label of
// what it matches, now and later, or now.
std::string globHint(const std::string& action, const std::string& label, const std::string& path,
                     const std::string& named);

}  // namespace project_share
