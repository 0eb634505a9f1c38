#pragma once

#include <functional>

#include "Samples.h"

// One project on each of the hosts that there are, and all that is in it.
namespace samples {

using memory_host::MemoryProject;
using project::management::ProjectManager;

struct HostKind {
  const char* name;
  bool isFolder;  // undoes what is written in a scope that an exception ends; a folder goes with what lies in it
  // Independent of what it was made of, whose entries lie in /p, sorted by their bytes, and whose labels have UUIDs of
  // their own.
  std::shared_ptr<ProjectManager> (*make)(MemoryProject& project);
  std::shared_ptr<ProjectManager> (*copy)(ProjectManager& project);
};

extern const HostKind memoryHost, folderHost;

using Row = std::vector<std::u16string>;
using Rows = std::vector<Row>;

// Of the profiles' nodes: the type, the locations, and the value where one is expected.
Rows storedIn(project::metadata::MetadataManager& metadata);
// The categories with their labels, the entries with theirs.
Rows labelsAndEntriesIn(ProjectManager& project);

// What the library's error, or a missing project or profile, is called; empty where there is none. Others pass.
std::string errorOf(const std::function<void()>& action);

}  // namespace samples
