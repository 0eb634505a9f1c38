#pragma once

#include <string>
#include <vector>

#include "folder_host/WorkingCopy.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project_share {

// A folder that a filter selects and spares, and the first file below it that stays.
struct Spared {
  std::string folder;
  std::string because;
};

// What one filter of the profile does, given what those before it have left.
struct FilterEffect {
  std::string name;               // "filter 1, drop-files"
  std::vector<std::string> gone;  // entries, in the order of the listing
  std::vector<Spared> spared;
  std::vector<folder_host::LabelRecord> labelsGone;
};

struct Preview {
  std::vector<FilterEffect> filters;  // as the profile applies them
  folder_host::HostRemovals host;
  std::vector<const folder_host::Entry*> stays;  // of the copy's listing
};

// What a share would do, found by applying the profile's own filters to the copy, one at a time.
Preview previewOf(project::sharing::profiles::ExportProfile& profile, folder_host::WorkingCopy& copy);

}  // namespace project_share
