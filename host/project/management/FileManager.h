#pragma once

#include <vector>

#include "fl/filesystem/path.h"
#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The entries (files and folders) of one project and the labels attached to them.
class FileManager {
 public:
  // Every entry, as a full path below the root folder.
  virtual std::vector<fl::filesystem::path> getFiles() = 0;

  // In the text form that fl::filesystem::detail::extract_parent_path gives for what lies directly in it.
  virtual fl::filesystem::path getRootFolder() = 0;

  virtual std::vector<FileLabel> getFileLabels(const fl::filesystem::path& entry) = 0;
  virtual bool isFolder(const fl::filesystem::path& entry) = 0;
  virtual std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>& entries) = 0;

  virtual ~FileManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
