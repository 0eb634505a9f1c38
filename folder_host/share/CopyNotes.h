#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/FolderState.h"

namespace folder_host {

// Notes of copies begin so, under whatever name.
inline constexpr std::string_view COPY_NOTES_HEAD = "project-share copies 1\n";

// A file of a copy: what was read, and what was written. Their sizes and times of modification are the same.
struct CopiedFile {
  Stamp source;
  Stamp copy;
};

// By the path in the copy. By these an update tells without reading that neither has changed. Where they are lost, or
// are not true any more, files are copied that need not be.
using CopyNotes = std::map<std::string, CopiedFile, std::less<>>;

std::string bytesOf(const CopyNotes& notes, const std::string& destination);
// From such bytes, whoever made them; none of any others, or of another destination's.
std::optional<CopyNotes> copyNotesIn(std::string_view bytes, const std::string& destination);

// What a project's folder keeps beside its store, for nobody else to read: the notes of the copies that were made last,
// a hundred of them. Of what cannot be read: none.
CopyNotes readCopyNotes(const Descriptor& storeFolder, const std::string& destination);
// Replaces those of the destination. Fails with std::system_error.
void writeCopyNotes(const Descriptor& storeFolder, const std::string& destination, const CopyNotes& notes);

}  // namespace folder_host
