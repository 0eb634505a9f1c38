#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"
#include "folder_host/share/Allowances.h"
#include "folder_host/share/CopyQueue.h"

namespace folder_host {

// Copies entries of a project's folder into another folder, with their permissions (no set-id bits; see Permissions.h)
// and their times; extended attributes and owners stay behind. Nothing is read or written through a link, and the
// project's own store is never opened. Holes stay holes. Errors: NESTED_PROJECT, ENTRY_CHANGED (not what was listed, or
// changed since), ENTRY_UNREADABLE, COPY_FAILED.
//
// Where there is much to copy, a second thread helps: it copies files and links, calls nothing that it was not given
// here, is asked to handle no signal, and is gone when copy() returns or throws. Where none can be had, one does it
// all.
class TreeCopy {
 public:
  struct Options {
    // ENTRY_CHANGED: a file that changes since it was listed goes as it is read. NESTED_PROJECT: a file goes that by
    // its first bytes is a store or a receipt.
    Allowances allowed;
    // Told, in the thread that calls copy(), how many entries and bytes are copied so far; often. What it throws stops
    // the copying.
    std::function<void(std::size_t, std::uint64_t)> onProgress;
  };

  // Copies from the folder at `root` into the folder `target`, which has to outlive this object.
  TreeCopy(const std::string& root, const Descriptor& target, Options options);

  // Copies the entries, a folder standing before what lies in it. Of several errors it throws that of the first entry.
  // To be called once.
  void copy(const std::vector<const Entry*>& entries);

  // Of the top folder.
  const FileId& rootId() const { return root_; }
  mode_t rootMode() const { return folders_.front().mode; }

  // What was copied and changed meanwhile, in the order of the listing: nothing, unless that is allowed.
  const std::vector<std::string>& changedPaths() const { return changed_; }

  // Gives the folders, the top one too, their modes and times. To be called when nothing more is written into them.
  void finishFolders();

 private:
  struct Folder {
    std::string path;
    mode_t mode;
    std::array<timespec, 2> times;
  };
  using Tell = std::function<void()>;

  void makeFolders(const std::vector<const Entry*>& entries, CopyQueue& queue, const Tell& tell);
  void makeFolder(const Entry& folder);
  void addFolder(const std::string& path, const Descriptor& opened, const struct stat& status);
  void copyFiles(CopyQueue& queue, const Tell& tell) const;
  std::future<void> startHelper(CopyQueue& queue) const;

  Descriptor source_;
  FileId root_;
  FileId store_;  // of the project's store
  const Descriptor& target_;
  Options options_;
  std::vector<Folder> folders_;
  std::vector<std::string> changed_;
};

}  // namespace folder_host
