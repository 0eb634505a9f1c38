#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "folder_host/Descriptor.h"
#include "folder_host/Entry.h"

namespace folder_host {

// Copies entries of a project's folder into another folder, with their permissions (no set-id bits) and their times;
// extended attributes and owners stay behind. Nothing is read or written through a link, and the project's own store is
// never opened. Errors: ENTRY_CHANGED, ENTRY_UNREADABLE, COPY_FAILED.
class TreeCopy {
 public:
  // Copies from the folder at `root` into the folder `target`, which has to outlive this object.
  TreeCopy(const std::string& root, const Descriptor& target);

  // Copies one entry and gives the bytes of its content. A folder comes before what lies in it.
  std::uint64_t add(const Entry& entry);

  // The copied file that is one and the same file as the one at this path of the project's folder, under another name;
  // empty where there is none.
  std::string copiedAs(const std::string& path) const;

  // Gives the folders, the top one too, their modes and times. To be called when nothing more is written into them.
  void finishFolders();

 private:
  struct Folder {
    std::string path;
    struct stat status;
  };

  void addFolder(const std::string& path);
  void addLink(const Entry& link);
  std::uint64_t addFile(const std::string& path);
  std::uint64_t copyContent(const std::string& path, const Descriptor& source, const struct stat& status);
  std::uint64_t transfer(const std::string& path, const Descriptor& source, const Descriptor& copy);
  struct stat look(const std::string& path, mode_t type) const;
  void refuseStore(const std::string& path, const struct stat& status) const;

  using FileId = std::pair<dev_t, ino_t>;
  static FileId idOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

  Descriptor source_;
  std::map<FileId, std::string> copied_;  // by what they are: a hard link or a mount may give a file another name
  struct stat store_ {};                  // of the project's store; zeros where there is none
  const Descriptor& target_;
  std::vector<Folder> folders_;
  std::vector<char> buffer_;
};

}  // namespace folder_host
