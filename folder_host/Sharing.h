#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "folder_host/WorkingCopy.h"
#include "project/sharing/TransformationHierarchy.h"

namespace folder_host {

struct ShareResult {
  std::size_t files = 0;
  std::size_t folders = 0;
  std::size_t links = 0;
  std::uint64_t bytes = 0;
  HostRemovals removals;
};

// Refuses what can be no destination of this project, before any work is done. Errors: DESTINATION_EXISTS (also as a
// dangling link), DESTINATION_IN_PROJECT, DESTINATION_UNUSABLE (the folder that would hold it is not there).
void checkDestination(const WorkingCopy& copy, const std::string& destination);

// Runs the transformation over the working copy, applies the host's rules, and writes what is left to `destination`,
// which is absent or complete afterwards, whatever interrupts it. Only what is left is read from the project's folder.
// The destination opens as a project of its own. Errors: those of checkDestination, NESTED_PROJECT, ENTRY_CHANGED (an
// entry is not what it was when it was listed), ENTRY_UNREADABLE, CONTENT_UNDER_TWO_NAMES (a file that goes is one with
// a file that stays), COPY_FAILED, and what the transformation throws.
ShareResult share(const std::shared_ptr<WorkingCopy>& copy,
                  const project::sharing::TransformationHierarchy& transformation, const std::string& destination);

}  // namespace folder_host
