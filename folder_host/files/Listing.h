#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Identity.h"

namespace folder_host {

// Where the store lies in a project's folder. It is no entry.
inline constexpr const char* STORE_FOLDER = ".project";
inline constexpr const char* STORE_NAME = "store.db";
inline constexpr const char* STORE_FILE = ".project/store.db";
inline constexpr const char* ADDRESS_NAME = "address";  // in its place, where the store is on a server
inline constexpr const char* ADDRESS_FILE = ".project/address";
inline constexpr const char* MOVED_STORE_NAME = "moved-store.db";
// By this number, the application's id of an SQLite file, a store is known under any name.
inline constexpr std::uint32_t STORE_ID = 0x50736872;

enum class EntryKind { file, folder, link };

// One entry of a project, as it stood when the folder was listed.
struct Entry {
  std::string path;  // relative to the project's folder, as the bytes on disk, '/' between names
  EntryKind kind;
  std::string target;      // of a link: where it points, as it stands on disk; else empty
  FileId id = {};          // of what stood there
  std::uint64_t size = 0;  // of a file, in bytes; else 0
  timespec changed = {};   // when its content or its status was last changed
  timespec modified = {};  // when its content was last changed, as far as its times were not set
  timespec born = {};      // when it came to be; zero where the file system does not say
  mode_t mode = 0;         // who may do what with it: the bits of chmod(2)
};

// The order of a tree: a folder before what lies in it, and that before the folder's next neighbour.
bool beforeInTree(const std::string& path, const std::string& other);

// What a project's folder holds.
struct Listing {
  std::vector<Entry> entries;             // sorted by the bytes of their paths; the project's folder is not among them
  std::vector<std::string> skipped = {};  // FIFOs, sockets, devices: no entries
  FileId root = {};                       // of the project's folder
  std::vector<FileId> folders = {};       // of the project's, its store's and each listed folder; sorted
  timespec begun = {};                    // when it was begun, as the file systems tell the time
  // By device, the identifiers of the file systems on which a file keeps its inode's number from mount to mount.
  std::map<dev_t, std::uint64_t> fileSystems = {};

  // Of an entry of this listing; none where the file system gives it none that lasts.
  std::optional<Identity> identityOf(const Entry& entry) const;
};

// Lists the folder without following links. The store of the folder itself (`.project`) is no entry; a `.project`
// further down is listed like anything else.
// Errors: ENTRY_CHANGED (a folder was replaced meanwhile), ENTRY_UNREADABLE, PATH_TOO_LONG.
Listing listFolder(const std::string& folder);

}  // namespace folder_host
