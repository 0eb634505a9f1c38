#include "project/sharing/profiles/ExportProfileTransformation.h"

#include <memory>

#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace project::sharing::profiles {

ExportProfileTransformation::ExportProfileTransformation(const std::u16string& profileUUID) : uuid(profileUUID) {}

ExportProfileTransformation::~ExportProfileTransformation() = default;

void ExportProfileTransformation::apply(project::sharing::SerializationData& data) const {
  if (uuid == getWholeProjectUUID()) return;
  // The pointers are held until the end: the host may close the project, or change `data`, while it is called.
  const std::shared_ptr<project::management::ProjectManager> projectManager = data.projectManagers.at(data.projectPath);
  const std::unique_ptr<ExportProfileManager> manager = createManager(projectManager->getMetadataManager());
  const std::shared_ptr<ExportProfile> profile = manager->getProfileByUUID(uuid);
  profile->apply(*projectManager);
}

const std::u16string& ExportProfileTransformation::getUUID() const { return uuid; }

const std::u16string& getWholeProjectUUID() {
  // Made by the first call, which may come while constants of other files are not made yet.
  static const std::u16string wholeProject = u"wholeproject";
  return wholeProject;
}

}  // namespace project::sharing::profiles
