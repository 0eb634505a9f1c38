#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/Descriptor.h"
#include "folder_host/Entry.h"

namespace folder_host {

// Copies entries of a project's folder into another folder, with their permissions (no set-id bits) and their times;
// extended attributes and owners stay behind. Nothing is read or written through a link, and the project's own store is
// never opened. Errors: ENTRY_CHANGED (not what was listed, or changed while it was read), ENTRY_UNREADABLE,
// COPY_FAILED.
class TreeCopy {
 public:
  struct Options {
    bool allowChanging = false;                 // a file that changes while it is read goes as it was read
    std::function<void(std::uint64_t)> copied;  // told of bytes as they are written; may throw
  };

  // Copies from the folder at `root` into the folder `target`, which has to outlive this object.
  TreeCopy(const std::string& root, const Descriptor& target, Options options);

  // Copies one entry. A folder comes before what lies in it.
  void add(const Entry& entry);

  const struct stat& rootStatus() const { return folders_.front().status; }

  // Gives the folders, the top one too, their modes and times. To be called when nothing more is written into them.
  void finishFolders();

 private:
  struct Folder {
    std::string path;
    struct stat status;
  };

  void addFolder(const Entry& folder);
  void addLink(const Entry& link);
  void addFile(const Entry& file);
  void copyContent(const std::string& path, const Descriptor& source, const struct stat& status);
  void transfer(const std::string& path, const Descriptor& source, const Descriptor& copy);
  struct stat look(const Entry& entry, mode_t type) const;
  void refuseStore(const Entry& file) const;

  Descriptor source_;
  FileId store_;  // of the project's store
  const Descriptor& target_;
  Options options_;
  std::vector<Folder> folders_;
  std::vector<char> buffer_;
};

}  // namespace folder_host
