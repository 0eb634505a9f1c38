#pragma once

#include <string>

#include "project/sharing/TransformationHierarchy.h"
#include "project/sharing/profiles/ExportMacro.h"

namespace project::sharing::profiles {

// Applies one profile to the project that is being shared. The object may serve one sharing operation or many: each
// application reads the profile anew. No operation changes the object, so several threads may apply it at once; what
// two applications do to one project is the host's concern.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfileTransformation : public project::sharing::TransformationHierarchy {
 public:
  // Takes the UUID of a stored profile, or getWholeProjectUUID() for a share without any filter.
  explicit ExportProfileTransformation(const std::u16string& uuid);
  ~ExportProfileTransformation() override;

  // Strips `data.projectManagers.at(data.projectPath)`; does nothing for the whole project. Throws std::out_of_range
  // for a project that is not there and for a damaged profile (ExportProfileManager.h), the errors of
  // ExportProfileManager::getProfileByUUID and createManager, and what the host throws. Filters that were applied
  // before keep their effect. The pointer that is found in `projectManagers` must not be empty: an empty one ends the
  // process.
  void apply(project::sharing::SerializationData& data) const override;

  const std::u16string& getUUID() const;

 private:
  std::u16string uuid;
};

// Gives the reserved UUID "wholeproject": the export of the whole, unfiltered project. Every call gives the same
// object. The first call makes it, and may come from several threads at once; it is destroyed when the process ends or
// the library is unloaded. Before that, all that the library made has to be destroyed: managers, profiles, filters,
// errors.
PROJECT_SHARING_PROFILES_EXPORT const std::u16string& getWholeProjectUUID();

}  // namespace project::sharing::profiles
