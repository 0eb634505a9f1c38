#pragma once

#include <memory>
#include <unordered_map>

#include "fl/filesystem/path.h"
#include "project/management/ProjectManager.h"

#pragma GCC visibility push(default)

namespace project::sharing {

// What one sharing operation works on: the open projects by their paths, and the path of the one that is shared.
struct SerializationData {
  std::unordered_map<fl::filesystem::path, std::shared_ptr<management::ProjectManager>> projectManagers;
  fl::filesystem::path projectPath;
};

}  // namespace project::sharing

#pragma GCC visibility pop
