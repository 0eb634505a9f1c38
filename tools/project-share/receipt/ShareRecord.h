#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "judgement/Judgement.h"
#include "output/Json.h"

namespace project_share {

// A share, as the project's folder lists it (folder_host/share/ShareList.h).
struct ShareRecord {
  std::int64_t at;  // milliseconds since 1970
  Json object;      // as `log` gives it
};

// The line of a share that has just been made to that destination.
std::string lineOf(const folder_host::FolderProject& project, const Judgement& judgement,
                   const std::string& destination);

// Those that are listed, in their order. Lines that are none of ours are passed over. Fails with std::system_error.
std::vector<ShareRecord> sharesOf(const folder_host::FolderProject& project);

}  // namespace project_share
