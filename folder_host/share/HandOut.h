#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/files/Place.h"
#include "folder_host/share/Allowances.h"
#include "folder_host/share/WorkingCopy.h"
#include "project/sharing/TransformationHierarchy.h"

namespace folder_host {

class Descriptor;

// How much of a copy is written; what was counted when the project was listed is the whole.
struct Progress {
  std::size_t entries = 0;
  std::size_t allEntries = 0;
  std::uint64_t bytes = 0;
  std::uint64_t allBytes = 0;
};

struct ShareOptions {
  // ENTRY_CHANGED: a file that changes after it was listed goes as it is read.
  Allowances allowed;
  // Called often. What it throws stops the share.
  std::function<void(const Progress&)> onProgress;
  // Called with what is left of the project and the folder that holds its copy, whole and durable, before that gets its
  // name. What it throws stops the share.
  std::function<void(const WorkingCopy&, const Descriptor&)> beforePublication;
};

struct ShareResult {
  std::size_t files = 0;
  std::size_t folders = 0;
  std::size_t links = 0;
  std::uint64_t bytes = 0;
  std::vector<std::string> changed;  // files and links that did so after they were listed, in the order of the listing
  HostRemovals removals;
};

// Refuses what can be no destination of this project, before any work is done, and gives its place. Errors:
// DESTINATION_EXISTS (also as a dangling link), DESTINATION_IN_PROJECT (by any name of any folder that was listed),
// DESTINATION_UNUSABLE (the folder that would hold it is not there).
Place checkDestination(const WorkingCopy& copy, const std::string& destination);

// Runs the transformation over the working copy, applies the host's rules, and writes what is left to `destination`,
// which is absent or complete afterwards, whatever interrupts it; what killed processes left beside it is cleaned up.
// Only what is left is read from the project's folder. The destination opens as a project of its own. Whether labels
// on gone paths, or what lies beside what is held back (Traces, Twins), speak against it is for the caller to judge.
// Errors: those of checkDestination, the risks of risksAmong that are not allowed, NESTED_PROJECT (by its first
// bytes a file is a store or a receipt, whatever its name), ENTRY_CHANGED (an entry is not what it was when it was
// listed), ENTRY_UNREADABLE, COPY_FAILED, and what the transformation and the functions of the options throw.
ShareResult share(const std::shared_ptr<WorkingCopy>& copy,
                  const project::sharing::TransformationHierarchy& transformation, const std::string& destination,
                  const ShareOptions& options = {});

}  // namespace folder_host
