#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "folder_host/files/Listing.h"

namespace project_share {

// What a receipt says of the share as a whole.
struct ReceiptHead {
  std::string time;                      // "2026-11-21T06:40:24Z"
  std::string profileUuid, profileName;  // both empty: the whole project
  std::string from;                      // the folder that was shared, relative to the project; empty: all of it
  std::string destination;               // absolute; of a stream "-", of a judgement that is kept for itself, empty
  std::string shape;                     // "folder", "tar", "tar.gz", "tar.zst", "zip"
  bool isPlain = false;                  // the copy has no store
  bool hasContent = false;               // each file's content was hashed
  std::string judgement, copy;           // SHA-256, in hexadecimal digits
  // The state of the store by which was judged: its last edit and, where it is on a server, the address. Of a receipt
  // that says nothing of it, 0.
  std::uint64_t revision = 0;
  std::string edit, address;
};
bool operator==(const ReceiptHead& a, const ReceiptHead& b);
// As the receipt begins.
nlohmann::ordered_json jsonOf(const ReceiptHead& head);

// An entry that was shared, by its path in the copy. The copy's store is among them, without times, mode or labels.
struct ReceiptEntry {
  std::string path;
  folder_host::EntryKind kind = folder_host::EntryKind::file;
  std::string target;      // of a link
  std::uint64_t size = 0;  // of a file
  timespec modified = {};
  mode_t mode = 0;                  // of a file or a folder
  std::string sha256;               // of a file, where its content was hashed
  std::vector<std::string> labels;  // UUIDs
};

struct ReceiptHeldBack {
  std::string path;  // relative to the folder that was shared, as all paths in a receipt
  folder_host::EntryKind kind = folder_host::EntryKind::file;
  nlohmann::json reason;            // docs/json.md
  std::vector<std::string> labels;  // UUIDs
};
// "filter 1, drop-files: audience/internal", as the share told it.
std::string reasonInWords(const nlohmann::json& reason);

}  // namespace project_share
