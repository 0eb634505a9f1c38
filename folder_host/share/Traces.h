#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"

// What is held back is mostly also somewhere else: here is found what of a project that would be shared may hold it, by
// names, by places, and by the first bytes of files. Entries are meant by their index in the table.
namespace folder_host {

// Where earlier states of files are kept (see isHistory); also a folder that a version control has made its own under
// whatever name, by what lies in it. Of what lies in one of them the topmost alone.
std::vector<std::size_t> historiesAmong(const EntryTable& entries, const Selection& shared);

struct Leftover {
  std::size_t entry;
  std::vector<std::size_t> of;  // what is held back, or a folder in which something is; empty: the name does not tell
};

// Leftovers (see originalsOf) of files and folders that are held back and lie beside them. Copies and archives are made
// on purpose: they count where what they are made of, or something in it, is among what was `dropped`.
std::vector<Leftover> leftoversAmong(const EntryTable& entries, const Selection& shared, const Selection& heldBack,
                                     const Selection& dropped);

// Which files are opened for their first bytes: those that can be a store, a receipt or an export by their size or
// their name, or each, as a hand-out does.
enum class Look { likely, each };

// Files that are a store, a receipt or an export by their first bytes. A file that cannot be read is none; the
// project's own store under another name is one, and never opened.
std::vector<std::size_t> storesAmong(const std::string& root, const EntryTable& entries, const Selection& shared,
                                     Look look);

}  // namespace folder_host
