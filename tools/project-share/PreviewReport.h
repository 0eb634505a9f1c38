#pragma once

#include <string>
#include <vector>

#include "Json.h"
#include "Preview.h"
#include "folder_host/Hazards.h"

// How a preview, and what is amiss, is told.
namespace project_share {

// "filter 1, drop-files"
std::string nameOfFilter(const Preview& preview, std::size_t position);

// The names of labels, given by index, with commas between; "no label" of none.
std::string namesOf(const Preview& preview, const std::vector<std::size_t>& labels);

// "filter 1, drop-files: audience/internal", "nothing left in it"; of an entry that stays empty.
std::string textOf(const Preview& preview, const Reason& reason);
// "filter 1, drop-files: audience/internal, selects it, but drafts/new below it stays"
std::string textOf(const Preview& preview, const Spared& spared);

Json jsonOf(const Preview& preview, const Reason& reason);
Json jsonOf(const Preview& preview, const Spared& spared);

// None where the entry is not spared.
const Spared* sparedOf(const Preview& preview, const folder_host::Entry& entry);

void printHazards(const std::vector<folder_host::Hazard>& hazards);
// As `label list` gives it: attached to so many paths.
void printLabel(const folder_host::LabelRecord& label, std::size_t paths);
void printSkipped(const folder_host::Listing& listing);

}  // namespace project_share
