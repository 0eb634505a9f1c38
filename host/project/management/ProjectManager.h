#pragma once

#include <memory>

#include "project/management/FileManager.h"
#include "project/management/LabelManager.h"
#include "project/metadata/MetadataManager.h"

#pragma GCC visibility push(default)

namespace project::management {

// One open project. A label manager or file manager that it gives lives until the filter that asked for it is done; the
// metadata manager is shared, may outlive it, and is never an empty pointer.
class ProjectManager {
 public:
  virtual LabelManager& getLabelManager() = 0;
  virtual FileManager& getFileManager() = 0;
  virtual std::shared_ptr<metadata::MetadataManager> getMetadataManager() = 0;
  virtual ~ProjectManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
