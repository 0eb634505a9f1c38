#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "folder_host/files/Listing.h"

namespace project_share {

// What a receipt says of one entry that was handed out.
struct NotedEntry {
  std::string path;
  folder_host::EntryKind kind = folder_host::EntryKind::file;
  std::string target;      // of a link
  std::uint64_t size = 0;  // of a file
  std::string sha256;      // of a file
};

// Reads what may be a receipt (docs/json.md), element by element: a long one takes no more room than its longest
// element. What is none, by its bytes, its parts or their types, is RECEIPT_UNREADABLE. Parts and fields that are not
// known are passed over.
class ReceiptReader {
 public:
  // Opens it; waits for nothing.
  explicit ReceiptReader(std::string file);

  // Judges all of it, so that nothing is made of what is none: each part is there, and once, all have their types, and
  // no entry was handed out twice (the paths are kept for that). Gives the time that it notes.
  std::string judge();

  // Visits what was handed out, in its order. Where the file has been changed since it was judged, this may throw after
  // some visits.
  void forEach(const std::function<void(const NotedEntry&)>& visit);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string read(const std::function<void(const NotedEntry&)>& visit);

  std::string file_;
  std::unique_ptr<std::FILE, Close> stream_;
};

}  // namespace project_share
