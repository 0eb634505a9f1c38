#pragma once

#include <vector>

#include "fl/filesystem/path.h"
#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The entries (files and folders) of one project and the labels attached to them. A file filter lists the entries once,
// asks about each, and removes: what it works on is a copy that is about to be shared. Only listed entries are asked
// about and removed, by the very paths of the list.
class FileManager {
 public:
  // Every entry once, as a full path below the root folder, which is not among them. In any order, which is kept.
  virtual std::vector<fl::filesystem::path> getFiles() = 0;

  // Its text is what fl::filesystem::detail::extract_parent_path and then make_native_form give for what lies directly
  // in it.
  virtual fl::filesystem::path getRootFolder() = 0;

  // The labels of this very entry. The library hands none down from a folder: where a label on a folder is to cover
  // what lies in it, it is given for each entry there.
  virtual std::vector<FileLabel> getFileLabels(const fl::filesystem::path& entry) = 0;

  // False of an entry that keeps the folders above it when it stays. What a link is, the host says.
  virtual bool isFolder(const fl::filesystem::path& entry) = 0;

  // A folder goes with what lies in it, and may stand before entries that lie in it. An empty list removes nothing.
  // The library ignores the result.
  virtual std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>& entries) = 0;

  virtual ~FileManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
