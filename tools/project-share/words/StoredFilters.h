#pragma once

#include <string>
#include <vector>

#include "project/metadata/MetadataManager.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project_share {

// A line each for what is stored in the profile and takes no part in it: filters of a kind that the library does not
// know, written by a newer one, and items of another type than it reads.
std::vector<std::string> skippedIn(const project::sharing::profiles::ExportProfile& profile,
                                   project::metadata::MetadataManager& metadata);

}  // namespace project_share
