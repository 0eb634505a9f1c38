#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// What was noted of a copy's files. By it an update tells without reading that neither the project's file nor the
// copy's has changed. Where it is lost, or is not true any more, files are copied that need not be.
class CopyNotes {
 public:
  CopyNotes() = default;
  // From the bytes that were written, whoever made them: empty where they are any others, or another destination's.
  CopyNotes(std::string bytes, const std::string& destination);

  std::size_t size() const noexcept { return files_.size(); }
  // By the path in the copy.
  std::optional<CopiedFile> find(std::string_view path) const;

 private:
  // Where each begins, in the order of the paths; nothing where the bytes are not what was written.
  std::vector<std::size_t> filesIn(std::string_view bytes, const std::string& destination) const;

  std::string bytes_;  // there may be very many files: they stay packed
  std::vector<std::size_t> files_;
};

// What a project's folder keeps beside its store, for nobody else to read: the notes of the copies that were made last,
// a hundred of them. Of what cannot be read: none.
CopyNotes readCopyNotes(const Descriptor& storeFolder, const std::string& destination);

using NoteFile = std::function<void(std::string_view path, const CopiedFile&)>;
// Replaces those of the destination by `count` files, each of which `noteAll` notes, in the order of their paths. Fails
// with std::system_error.
void writeCopyNotes(const Descriptor& storeFolder, const std::string& destination, std::size_t count,
                    const std::function<void(const NoteFile&)>& noteAll);

}  // namespace folder_host
