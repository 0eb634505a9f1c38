#pragma once

#include <string>

#include "folder_host/share/Traces.h"
#include "judgement/Judgement.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project_share {

// What a share by the profile would do, with all that speaks against it. The project is as it was. Content is read from
// the project's folder where it has to be compared. With Look::each, nothing is left for a hand-out to find of what was
// listed. Error: PROFILE_DAMAGED.
Judgement judge(folder_host::WorkingCopy& project, const project::sharing::profiles::ExportProfile& profile,
                folder_host::Look look = folder_host::Look::likely);
// Without a profile, everything is shared.
Judgement judgeWhole(const folder_host::WorkingCopy& project);

// The profile in a command: its UUID where the name cannot be typed as it looks, or would be an option.
std::string wordFor(const Judgement& judgement);

}  // namespace project_share
