#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace folder_host {

// One entry of a copy; its store's are among them.
struct CopyEntry {
  std::string path;  // relative to the copy
  EntryKind kind = EntryKind::file;
  std::string target = {};  // of a link
  std::uint64_t size = 0;   // of a file
  timespec modified = {};   // in an archive, whole seconds
  mode_t mode = 0;          // without its type; of a link, 0
  std::string sha256 = {};  // of a file, where it was asked for
  bool isOther = false;     // a pipe, a device: it was never handed out
};

// What a copy holds, whatever its shape. It comes from elsewhere: anything may be in it, and nothing of it is followed,
// waited for or written to the disk. What cannot be read is ENTRY_UNREADABLE.
class CopyContent {
 public:
  CopyContent() = default;
  CopyContent(const CopyContent&) = delete;
  CopyContent& operator=(const CopyContent&) = delete;
  virtual ~CopyContent();

  // The content of a file is to be read.
  using Wants = std::function<bool(const CopyEntry&)>;
  using Visit = std::function<void(CopyEntry)>;
  using Told = std::function<void(std::uint64_t)>;

  // Visits each entry once; may be called again. Of a file `wants` is asked first, with all but its digest, and where
  // it says so, the file is read and hashed; `told` gets the bytes of each read. What these throw passes.
  virtual void forEach(const Wants& wants, const Visit& visit, const Told& told) = 0;
  // The time of an entry is the very one that its original had, and not that in whole seconds.
  virtual bool hasExactTimes() const noexcept = 0;
};

// Of the folder. Error: ENTRY_UNREADABLE.
std::unique_ptr<CopyContent> openFolderCopy(const std::string& folder);
// A digest of what a copy holds, whatever its shape, its store apart: SHA-256 over each entry's path, kind and target
// or size, by path. docs/json.md has the exact bytes.
class CopyDigest {
 public:
  void add(const CopyEntry& entry) { add(entry.path, entry.kind, entry.target, entry.size); }
  // Fastest in the order of the paths.
  void add(const std::string& path, EntryKind kind, const std::string& target, std::uint64_t size);
  // In hexadecimal digits.
  std::string finish();

 private:
  std::vector<std::string> lines_;  // each with the path first
};

// All of the copy is looked at for it, and no content read.
std::string digestOf(CopyContent& copy);

}  // namespace folder_host
