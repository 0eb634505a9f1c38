#pragma once

#include <string>
#include <vector>

namespace folder_host {

enum class EntryKind { file, folder, link };

// One entry of a project, as it stood when the folder was listed.
struct Entry {
  std::string path;  // relative to the project's folder, as the bytes on disk, '/' between names
  EntryKind kind;
  std::string target;  // of a link: where it points, as it stands on disk; else empty
};

// What a project's folder holds.
struct Listing {
  std::vector<Entry> entries;        // sorted by the bytes of their paths; the project's folder is not among them
  std::vector<std::string> skipped;  // FIFOs, sockets, devices: no entries
  std::vector<std::string> nestedProjects;  // folders below the project's that are projects themselves
};

// Lists the folder without following links. The store of the folder itself (`.project`) is no entry; a `.project`
// further down is listed like any folder and named as a nested project.
// Errors: ENTRY_UNREADABLE, PATH_TOO_LONG.
Listing listFolder(const std::string& folder);

}  // namespace folder_host
