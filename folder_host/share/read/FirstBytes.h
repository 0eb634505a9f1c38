#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// How many bytes of a file tell what it is.
inline constexpr std::size_t FIRST_BYTES = 160;

// So many, or all of them. Fails with std::system_error.
std::string firstBytesOf(const Descriptor& file);

// Whether a file that begins so is a project's store, a dump of one, its memory, a receipt, a page or an export,
// whatever its name. The first key of an export counts behind anything, too: a comment, the mark of a merge or the head
// of a patch.
bool firstBytesTell(std::string_view first);

// The first key of an export: the labels, rules, marks and profiles of a project as one text of JSON. Whoever sorts its
// keys leaves it the first, by its capital.
inline constexpr std::string_view EXPORT_KEY = "Project-share export";

// A receipt that a project keeps begins so, under whatever name.
inline constexpr std::string_view RECEIPT_HEAD = "project-share receipt 2 ";

// A page about a share, which tells what is held back, begins so.
inline constexpr std::string_view PAGE_HEAD = "<!doctype html>\n<!-- project-share page -->\n";

// Whether a file that begins so is an export.
bool firstBytesTellExport(std::string_view first);

}  // namespace folder_host
