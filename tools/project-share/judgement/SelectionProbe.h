#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportFilter.h"

// What a filter makes of labels, asked of the filter itself in a project made up for the question. A filter that asks
// that project for something else gets std::logic_error.
namespace project_share {

using Labels = std::vector<project::management::FileLabel>;

// Of a file filter: which of the entries 0 to count - 1 it selects by their labels alone, were nothing below any of
// them to be shared.
std::vector<bool> selectedBy(project::sharing::profiles::ExportFilter& filter, std::size_t count,
                             const std::function<Labels(std::size_t)>& labelsOf);

// Of a label filter: whether it takes any of these labels away.
bool takesAwayAny(project::sharing::profiles::ExportFilter& filter, const Labels& labels);

}  // namespace project_share
