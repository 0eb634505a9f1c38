#pragma once

#include <string>
#include <vector>

#include "folder_host/WorkingCopy.h"
#include "project/sharing/profiles/ExportFilter.h"

namespace project_share {

// The entries that a file filter selects by their labels alone, those included that it spares because a file below
// them stays. Found by the filter itself, which protects nothing in a project whose every entry says that it is a
// folder. The copy is left as it is.
std::vector<std::string> selectedBy(project::sharing::profiles::ExportFilter& filter, folder_host::WorkingCopy& copy);

}  // namespace project_share
