#pragma once

#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// As many as firstBytesTell needs, or all of them. Fails with std::system_error.
std::string firstBytesOf(const Descriptor& file);

// Whether a file that begins so is a project's store, a dump of one, its memory, a receipt or an export, whatever its
// name.
bool firstBytesTell(std::string_view first);

// The first key of an export: the labels, rules, marks and profiles of a project as one text of JSON. Whoever sorts its
// keys leaves it the first, by its capital.
inline constexpr std::string_view EXPORT_KEY = "Project-share export";

// Whether a file that begins so is an export.
bool firstBytesTellExport(std::string_view first);

}  // namespace folder_host
