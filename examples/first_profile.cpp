#include <memory>

#include "project/management/ProjectManager.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

using namespace project::sharing::profiles;

// Stores a profile that drops what carries the label, and the label itself.
std::u16string makeProfile(project::management::ProjectManager& project, const ExportStrategyItem& internal) {
  const auto profile = createManager(project.getMetadataManager())->createProfile(u"public");
  profile->addFilter(EXCLUDE_FILES_WITH_LABEL, {internal});
  profile->addFilter(EXCLUDE_LABEL, {internal});
  profile->save();
  return profile->getUUID();
}

// Strips the working copy of a project that is about to be shared.
void strip(const std::shared_ptr<project::management::ProjectManager>& workingCopy, const std::u16string& uuid) {
  project::sharing::SerializationData data;
  data.projectManagers[data.projectPath] = workingCopy;
  ExportProfileTransformation(uuid).apply(data);
}
