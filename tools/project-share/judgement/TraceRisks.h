#pragma once

#include "folder_host/share/Traces.h"
#include "judgement/Judgement.h"
#include "judgement/Mending.h"

namespace project_share {

// Of the judgement of a share by a profile: what is shared and should not be by its place, its name or its content.
// NAMES_COLLIDE and NESTED_PROJECT always; HISTORY_INSIDE, LEFTOVER and SAME_CONTENT where the profile holds something
// back, which could leave by these ways. `project` is as it was before any filter.
void addTraceRisks(folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement,
                   folder_host::Look look);

// NAMES_COLLIDE and NESTED_PROJECT alone.
void addPlaceRisks(const folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement,
                   folder_host::Look look);

}  // namespace project_share
