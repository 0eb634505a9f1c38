#pragma once

#include <memory>

#include "project/management/FileManager.h"
#include "project/management/LabelManager.h"
#include "project/metadata/MetadataManager.h"

#pragma GCC visibility push(default)

namespace project::management {

// One open project. The label manager and the file manager that it gives live until the filter that asked for them is
// done. The metadata manager is shared and may outlive the project; the pointer to it is never empty.
class ProjectManager {
 public:
  virtual LabelManager& getLabelManager() = 0;
  virtual FileManager& getFileManager() = 0;
  virtual std::shared_ptr<metadata::MetadataManager> getMetadataManager() = 0;
  virtual ~ProjectManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
