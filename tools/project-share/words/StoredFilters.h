#pragma once

#include <string>
#include <vector>

#include "project/metadata/MetadataManager.h"
#include "project/sharing/profiles/ExportProfile.h"

// What is stored of a profile, and the library passes over without a sign: filters of a kind that it does not know,
// written by a newer one, and items of another type than it reads.
namespace project_share {

// A line each for what is passed over, and so takes no part in the profile.
std::vector<std::string> skippedIn(const project::sharing::profiles::ExportProfile& profile,
                                   project::metadata::MetadataManager& metadata);

// Saves the profile, and leaves what is passed over as it is stored: the library alone would delete it, and nobody
// would be told of a rule less. The items of a filter that was removed go with it. To be called in a write scope.
void saveFilters(project::sharing::profiles::ExportProfile& profile, project::metadata::MetadataManager& metadata);

// Deletes a filter of a kind that is not known. Gives whether there was one.
bool removeUnknownFilter(const project::sharing::profiles::ExportProfile& profile, const std::u16string& kind,
                         project::metadata::MetadataManager& metadata);

// Stores with the profile `to` all that is stored with `from`, the name excepted. To be called in a write scope.
void copyFilters(const project::sharing::profiles::ExportProfile& from, project::sharing::profiles::ExportProfile& to,
                 project::metadata::MetadataManager& metadata);

}  // namespace project_share
