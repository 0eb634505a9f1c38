#pragma once

#include "Samples.h"

// One project on each of the hosts that there are.
namespace samples {

using memory_host::MemoryProject;
using project::management::ProjectManager;

struct HostKind {
  const char* name;
  bool isFolder;  // undoes what is written in a scope that an exception ends, and removes a folder with what lies in it
  // Independent of what it was made of, whose entries lie in /p, sorted by their bytes, and whose labels have UUIDs of
  // their own.
  std::shared_ptr<ProjectManager> (*make)(MemoryProject& project);
  std::shared_ptr<ProjectManager> (*copy)(ProjectManager& project);
};

extern const HostKind memoryHost, folderHost;

}  // namespace samples
