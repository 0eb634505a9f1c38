#pragma once

#include <string>
#include <vector>

#include "judgement/Judgement.h"
#include "judgement/Preview.h"
#include "output/Json.h"

// How a preview, and what is amiss, is told.
namespace project_share {

// The names of labels, given by index, sorted, each free, with commas between.
std::string namesOf(const Preview& preview, std::vector<std::size_t> labels);

// "filter 1, drop-files: audience/internal", "nothing left in it"; of an entry that stays empty.
std::string textOf(const Preview& preview, const Reason& reason);
// "filter 1, drop-files: audience/internal, but 'drafts/new' below it stays"
std::string textOf(const Preview& preview, const Spared& spared);

Json jsonOf(const Preview& preview, const Reason& reason);
Json jsonOf(const Preview& preview, const Spared& spared);

// None where the entry is not spared.
const Spared* sparedOf(const Preview& preview, const folder_host::Entry& entry);

// With `prefix` before each line, and with the fields of `more` in each object.
void printRisks(const std::vector<folder_host::Risk>& risks, const std::string& prefix = {},
                const Json& more = Json::object());
// What is no reason to refuse by itself.
void printNotes(const std::vector<folder_host::Risk>& notes, const std::string& prefix = {},
                const Json& more = Json::object());
// "Labels that leave with the copy: 'audience/everyone' on 2 entries."
std::string textOf(const std::vector<LeavingLabel>& leaving);
Json jsonOf(const std::vector<LeavingLabel>& leaving);
// As `label list` gives it: attached to so many paths.
void printLabel(const folder_host::LabelRecord& label, std::size_t paths);
void printSkipped(const folder_host::Listing& listing);

}  // namespace project_share
