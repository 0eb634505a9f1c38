#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "project/sharing/TransformationHierarchy.h"

namespace folder_host {

// What a transformation did between asking the project for its files, or for its labels, and asking for either again.
// A profile's filters ask once each, in their order (a label filter that lists nothing asks for nothing): so a turn is
// what one filter did.
struct Turn {
  enum class Of { files, labels };
  Of of;
  std::vector<std::size_t> heldBack;          // by this turn: indices of the table, ascending
  std::vector<std::u16string> labelsRemoved;  // UUIDs, sorted
};

// How a working copy came to be what it is.
struct Stripped {
  std::vector<Turn> turns;
  HostRemovals byHost;
};

// Makes of the copy what would be shared: runs the transformation over it, then the host's own rules, and tells what
// each did. What is shared is judged here, once; whatever is told, asked or handed out of it reads the copy as it is
// then. What the transformation throws passes, and leaves the copy half done.
Stripped strip(const std::shared_ptr<WorkingCopy>& copy,
               const project::sharing::TransformationHierarchy& transformation);

}  // namespace folder_host
