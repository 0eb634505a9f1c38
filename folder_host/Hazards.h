#pragma once

#include <string>
#include <vector>

#include "folder_host/WorkingCopy.h"

namespace folder_host {

// A reason not to hand out a project as it stands: nothing failed, but something may leave that was not meant to, or
// may be lost on the way.
struct Hazard {
  const char* identifier;  // one of the errors' constants
  std::string path;        // of the entry that it is about; empty where it is about none
  std::string message;     // one line for people
};

// LABEL_ON_GONE_PATH: labels on paths at which there is no entry; what was renamed or moved has lost its labels.
// Of a folder that is gone, with what was below it, the folder alone. To be
// asked before a transformation takes labels away.
std::vector<Hazard> danglingLabels(WorkingCopy& copy);

// What is amiss with the entries that are left, given those that are gone. NESTED_PROJECT: another project's store
// would leave. CONTENT_UNDER_TWO_NAMES: a file that goes is one with a file that stays. NAMES_COLLIDE: two names in a
// folder become one where case, or the way in which accents are written, makes no difference.
std::vector<Hazard> hazardsAmongLeft(const WorkingCopy& copy);

}  // namespace folder_host
