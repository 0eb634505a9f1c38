#pragma once

#include <vector>

#include "fl/filesystem/path.h"
#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The entries (files and folders) of one project and the labels attached to them. The project is a working copy that is
// about to be shared. A file filter lists the entries once, asks about each one, and then removes those that are not
// shared. It asks about and removes only listed entries, by the very paths of the list.
class FileManager {
 public:
  // Gives every entry once, as a full path below the root folder; the root folder itself is not listed. The host
  // chooses the order, and the library keeps to it.
  virtual std::vector<fl::filesystem::path> getFiles() = 0;

  // The text of this path is what fl::filesystem::detail::extract_parent_path and then make_native_form give for an
  // entry directly in the root folder.
  virtual fl::filesystem::path getRootFolder() = 0;

  // Gives the labels of this very entry. The library hands none down from a folder: where a label on a folder is to
  // cover what lies in it, the host gives the label for each entry there.
  virtual std::vector<FileLabel> getFileLabels(const fl::filesystem::path& entry) = 0;

  // Says whether the entry is a folder. A shared entry that is not a folder keeps the folders above it from being
  // removed. The host decides what a link is.
  virtual bool isFolder(const fl::filesystem::path& entry) = 0;

  // Removes the entries. A folder is removed with all that lies in it, and it may stand in the list before entries that
  // lie in it. An empty list removes nothing. The library ignores the result.
  virtual std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>& entries) = 0;

  virtual ~FileManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
