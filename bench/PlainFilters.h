#pragma once

#include <string>
#include <vector>

#include "project/management/ProjectManager.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

// The filters' rules in their plainest form, with linear searches: what the filters are compared with, in their calls
// by a test and in their cost by the benchmarks.
namespace plain {

using Items = std::vector<project::sharing::profiles::ExportStrategyItem>;

void applyFileFilter(const std::u16string& kind, const Items& items, project::management::ProjectManager& project);
void applyLabelFilter(const std::u16string& kind, const Items& items, project::management::ProjectManager& project);

}  // namespace plain
