#pragma once

#include <vector>

#include "judgement/Judgement.h"
#include "judgement/Mending.h"
#include "project/sharing/profiles/ExportProfile.h"

// What of the labels and of the profile's rules speaks against a share.
namespace project_share {

// Of the judgement of a share by this profile: LABEL_DELETED, FILTER_SKIPPED, LABEL_ON_MISSING_PATH, FOLDER_SPARED,
// LABEL_LEAVES, LABEL_PROTECTED; LABEL_IDLE and FILTER_IDLE as notes.
void addProfileRisks(folder_host::WorkingCopy& project, const project::sharing::profiles::ExportProfile& profile,
                     const Mending& mending, Judgement& judgement);

// LABEL_ON_MISSING_PATH for every label, whatever a profile makes of it.
std::vector<Risk> missingPaths(const folder_host::WorkingCopy& project);

}  // namespace project_share
