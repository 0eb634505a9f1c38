#pragma once

#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/share/Traces.h"

namespace folder_host {

// One content, not empty, under a name that is held back and under one that would be shared: made by a copy, or as a
// hard link.
struct Twins {
  std::string digest;                 // SHA-256 of the content, in hexadecimal; empty where it could not be read
  std::vector<std::size_t> heldBack;  // files, by their indices in the table, ascending
  std::vector<std::size_t> shared;    // likewise, not empty
};

// Of all the files, by the first that would be shared. Content is read only where sizes are equal: first blocks, and
// the whole of a file only where they are equal as well. What is held back and cannot be read counts as the twin of
// every file of its size: nothing shows that it is not. The project's own store is never opened.
std::vector<Twins> twinsAmong(const std::string& root, const EntryTable& entries, const Selection& shared,
                              const Selection& heldBack);

// The content's digest, as in Twins, of one file of the table. Empty where it cannot be read.
std::string digestOf(const std::string& root, const Entry& file);

}  // namespace folder_host
