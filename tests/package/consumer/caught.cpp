// A host's own code: what the library throws is caught by type.
#include "project/management/ProjectManager.h"
#include "project/sharing/profiles/ExportProfileErrors.h"
#include "project/sharing/profiles/ExportProfileManager.h"

bool isCaught() {
  using foundation::core::except::Exception;
  try {
    project::sharing::profiles::createManager(nullptr);
  } catch (
      const Exception<ORCHID::project::sharing::ExportProfilesStartupFailure, project::exception::ProjectException>&) {
    return true;
  }
  return false;
}
