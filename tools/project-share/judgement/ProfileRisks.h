#pragma once

#include <vector>

#include "judgement/Judgement.h"
#include "judgement/Mending.h"
#include "project/sharing/profiles/ExportProfile.h"

// What of the labels and of the profile's rules speaks against a share.
namespace project_share {

// Of the judgement of a share by this profile: LABEL_DELETED, FILTER_SKIPPED, LABEL_ON_MISSING_PATH, FOLDER_SPARED,
// LABEL_LEAVES, LABEL_PROTECTED; as notes LABEL_FOLLOWED, LABEL_IDLE, FILTER_IDLE, RULE_IDLE, EXCEPTION_HIDES_RULE,
// MEMORY_UNREADABLE, and LABEL_PROTECTED of a label that no filter names.
void addProfileRisks(folder_host::WorkingCopy& project, const project::sharing::profiles::ExportProfile& profile,
                     const Mending& mending, Judgement& judgement);

// LABEL_ON_MISSING_PATH and RULE_IDLE for every label, whatever a profile makes of it, and MEMORY_UNREADABLE.
std::vector<Risk> doubtsAboutLabels(const folder_host::WorkingCopy& project);

}  // namespace project_share
