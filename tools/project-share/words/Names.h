#pragma once

#include <cstddef>
#include <string>

#include "folder_host/files/Listing.h"
#include "folder_host/text/Printable.h"

namespace project_share {

// Names are given as they are; in a sentence they are quoted, in lists they stand free where they can.
using folder_host::freeName;
using folder_host::inQuotes;

// A folder's ends with a slash.
std::string nameOf(const folder_host::Entry& entry);

// Of a word by which so many were found; `what` is the group of commands that lists them. Throws with the identifier
// `absent` where there is none, with `ambiguous` where only a UUID will do.
void requireOne(std::size_t found, const char* what, const std::string& word, const char* absent,
                const char* ambiguous);

}  // namespace project_share
