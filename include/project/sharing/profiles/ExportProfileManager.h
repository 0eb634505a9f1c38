#pragma once

#include <memory>
#include <string>
#include <vector>

#include "project/sharing/profiles/ExportMacro.h"

namespace project::metadata {
class MetadataManager;
}

namespace project::sharing::profiles {

class ExportProfile;

// Lists, finds, creates and deletes the profiles of one project. It keeps none: every call reads the metadata, and
// two calls give different objects for the same stored profile. As safe among threads as the metadata manager is.
// A look-up never returns an empty pointer; its errors are Exception<X, ProjectException> with the X of
// ExportProfileErrors.h. What the host throws passes through every operation as it is, and nothing is undone but by the
// host's scopes. A stored profile that cannot be read (an item is listed whose node is not there: std::out_of_range;
// the host throws for a value that is not there) fails every listing, and so every look-up and creation. deleteProfile
// is the way out: it reads nothing.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfileManager {
 public:
  ExportProfileManager() = default;
  ExportProfileManager(const ExportProfileManager&) = delete;
  ExportProfileManager& operator=(const ExportProfileManager&) = delete;

  // By name, then UUID, in code-unit order; none where none is stored. Of a name that changes meanwhile, the one that
  // was read first counts.
  virtual std::vector<std::shared_ptr<ExportProfile>> getProfiles() = 0;

  // The names are compared exactly. Errors: ExportProfileNameNotFound; ExportProfileNameNotUnique, since stored names
  // can repeat.
  virtual std::shared_ptr<ExportProfile> getProfileByName(const std::u16string& name) = 0;

  // Error: ExportProfileUuidNotFound.
  virtual std::shared_ptr<ExportProfile> getProfileByUUID(const std::u16string& uuid) = 0;

  // Stores a profile without filters. The UUID is not checked: never getWholeProjectUUID(), for a transformation by it
  // strips nothing. A stored profile of this UUID keeps its filters and gets the name. Error:
  // ExportProfileAlreadyExists where a profile with another UUID has the name; nothing is written then. Where the host
  // fails after the write, the profile is stored.
  virtual std::shared_ptr<ExportProfile> createProfile(const std::u16string& name, const std::u16string& uuid) = 0;

  // By its UUID, with its filters; whether it is stored is not checked, and any ExportProfile will do that gives the
  // UUID. The pointer must not be empty: that ends the process. The object remains, without a name, and must not be
  // saved.
  virtual void deleteProfile(const std::shared_ptr<ExportProfile>& profile) = 0;

  // As above, with a new UUID of the host's: a name that any profile has is refused.
  std::shared_ptr<ExportProfile> createProfile(const std::u16string& name);

  virtual ~ExportProfileManager();
};

// The profiles of the project that this metadata belongs to; nothing is read yet. Error: ExportProfilesStartupFailure
// for an empty pointer.
PROJECT_SHARING_PROFILES_EXPORT std::unique_ptr<ExportProfileManager> createManager(
    std::shared_ptr<project::metadata::MetadataManager> metadataManager);

}  // namespace project::sharing::profiles
