#pragma once

#include <vector>

#include "folder_host/share/Risks.h"
#include "judgement/Mending.h"
#include "judgement/Preview.h"

namespace project_share {

// What is held back and could leave by another way, given the preview of a share by a profile that holds something
// back: HISTORY_INSIDE, LEFTOVER, SAME_CONTENT, each about what would be shared. The copy is as it was before any
// filter.
std::vector<folder_host::Risk> traceRisks(const Preview& preview, folder_host::WorkingCopy& copy,
                                          const Mending& mending);

// NESTED_PROJECT: stores and receipts under any name among what would be shared.
std::vector<folder_host::Risk> storeRisks(const Preview& preview, const folder_host::WorkingCopy& copy,
                                          const Mending& mending);

}  // namespace project_share
