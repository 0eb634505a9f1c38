#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"
#include "folder_host/share/Allowances.h"

namespace folder_host {

// Copies files and links of a tree, one after the other, into folders that are there. The folder of the last one stays
// open, so that a path is walked once for the files that follow one another in it; within it a name leads nowhere else.
// Used by one thread at a time; several objects may copy between the same trees at once.
class FileCopy {
 public:
  // What the copies of one tree share; the descriptors outlive them.
  struct Trees {
    const Descriptor& source;
    const Descriptor& target;
    FileId store;               // never opened
    const Allowances& allowed;  // see TreeCopy::Options
  };

  // `copied` is told of bytes as they are written, and may throw.
  FileCopy(const Trees& trees, std::function<void(std::uint64_t)> copied);

  // Whether what went is what was listed: else, where that is allowed, it changed since. What took its place never
  // goes. Errors: ENTRY_CHANGED, ENTRY_UNREADABLE, COPY_FAILED.
  bool add(const Entry& entry);

 private:
  void enterFolderOf(const Entry& entry);
  bool addLink(const Entry& link);
  bool addFile(const Entry& file);
  bool isUnchanged(const Entry& entry, const struct stat& status) const;
  void copyContent(const std::string& path, const Descriptor& source, const struct stat& status);
  void transfer(const std::string& path, const Descriptor& source, const Descriptor& copy, const struct stat& status);
  std::uint64_t transferExtents(const std::string& path, const Descriptor& source, const Descriptor& copy,
                                std::uint64_t size);
  std::uint64_t transferBytes(const std::string& path, const Descriptor& source, const Descriptor& copy,
                              std::uint64_t most);
  std::uint64_t readAndWrite(const std::string& path, const Descriptor& source, const Descriptor& copy,
                             std::uint64_t most);
  void tell(std::uint64_t bytes) const;
  void refuseTelling(const std::string& path, const Descriptor& source) const;
  void refuseStore(const Entry& file) const;

  const Trees trees_;
  std::function<void(std::uint64_t)> copied_;
  std::string folder_;  // that is open
  Descriptor from_;
  Descriptor to_;
  std::string name_;  // in it, of the entry that is being copied
  std::vector<char> buffer_;
};

}  // namespace folder_host
