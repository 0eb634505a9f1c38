#pragma once

#include <array>
#include <string>
#include <vector>

#include "folder_host/labels/LabelSources.h"
#include "judgement/Judgement.h"
#include "output/Json.h"

// How a judgement is told.
namespace project_share {

// The names of labels, given by index, sorted, each free, with commas between.
std::string namesOf(const Judgement& judgement, std::vector<std::size_t> labels);

// "filter 1, drop-files: audience/internal", "nothing in it is shared"; of an entry that is shared, empty.
std::string textOf(const Judgement& judgement, const Reason& reason);
// "filter 1, drop-files: audience/internal, but 'drafts/new' below it is shared"
std::string textOf(const Judgement& judgement, const Spared& spared);

Json jsonOf(const Judgement& judgement, const Reason& reason);
Json jsonOf(const Judgement& judgement, const Spared& spared);

// None where the entry is not spared.
const Spared* sparedOf(const Judgement& judgement, const folder_host::Entry& entry);

// How many of them are files, folders and links.
std::array<std::size_t, 3> countsByKind(const Entries& entries);
// What a filter takes out: "filter 1, drop-files: 3 files, 1 folder and 0 links held back, 0 folders spared".
std::string textOfFilter(const Judgement& judgement, std::size_t position);

// A line or an object each, in their order: with `prefix` before each line, and with the fields of `more` in each
// object. Nothing where there are none.
void printRisks(const std::vector<Risk>& risks, const std::string& prefix = {}, const Json& more = Json::object());
void printNotes(const std::vector<Risk>& notes, const std::string& prefix = {}, const Json& more = Json::object());
// What is handed out, in a sentence: "the project '/home/me/p'" or, of a part, "'drafts/' of the project '/home/me/p'".
std::string scopeText(const folder_host::WorkingCopy& copy);
// Sets "project" and, of a part, "from".
void putScope(Json& object, const folder_host::WorkingCopy& copy);

// "Labels that leave with the copy: 'audience/everyone' on 2 entries."
std::string textOf(const std::vector<LeavingLabel>& leaving);
Json jsonOf(const std::vector<LeavingLabel>& leaving);
// How often a label is stored.
struct LabelCounts {
  std::size_t paths = 0;  // with a mark that gives it
  std::size_t exceptions = 0;
  std::size_t rules = 0;
};
// Of each of the sources' labels, by index.
std::vector<LabelCounts> countsOf(const folder_host::LabelSources& sources);
std::string textOf(const LabelCounts& counts);  // "3 paths, 1 exception, 2 rules"
Json jsonOf(const LabelCounts& counts);

// As `label list` gives them: by category and name.
void printLabels(const std::vector<folder_host::LabelRecord>& labels, const folder_host::LabelSources& sources);
// What lies in the project and is no file, folder or link: it is never shared.
void printSkipped(const folder_host::Listing& listing);

}  // namespace project_share
