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

// Lists, finds, creates and deletes the profiles of one project. The manager holds no profile: every listing and
// look-up reads the metadata, and two of them give different objects for one stored profile. The manager and its
// profiles share the metadata manager, which therefore lives as long as any of them. The manager is as safe among
// threads as the metadata manager is.
// A look-up never returns an empty pointer. Its errors are Exception<X, ProjectException> with the X of
// ExportProfileErrors.h. What the host throws passes through every operation as it is. Nothing is undone but by the
// host's scopes.
// A stored profile can be damaged. Where an item is listed whose node is absent, every listing throws
// std::out_of_range. Where the name is absent, and the host throws for an absent value, every call throws that reads
// the name: a listing of two profiles or more, a look-up by name, a creation. The way out is deleteProfile, with an
// object of a class of the caller's own that derives from ExportProfile and gives the UUID.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfileManager {
 public:
  ExportProfileManager() = default;
  ExportProfileManager(const ExportProfileManager&) = delete;
  ExportProfileManager& operator=(const ExportProfileManager&) = delete;

  // Gives all profiles by name, then UUID, in code-unit order; none where none is stored. Where a name changes during
  // the call, the one that was read first counts.
  virtual std::vector<std::shared_ptr<ExportProfile>> getProfiles() = 0;

  // Compares the names exactly. Errors: ExportProfileNameNotFound; ExportProfileNameNotUnique, since stored names can
  // repeat.
  virtual std::shared_ptr<ExportProfile> getProfileByName(const std::u16string& name) = 0;

  // Error: ExportProfileUuidNotFound.
  virtual std::shared_ptr<ExportProfile> getProfileByUUID(const std::u16string& uuid) = 0;

  // Stores a profile without filters. The UUID is not checked. It must not be getWholeProjectUUID(): a transformation
  // by that one strips nothing. A stored profile of this UUID keeps its filters and gets the name. Error:
  // ExportProfileAlreadyExists where a profile with another UUID has the name; nothing is written then. Where the host
  // fails after the write, the profile is stored all the same, unless the host undoes the write scope.
  virtual std::shared_ptr<ExportProfile> createProfile(const std::u16string& name, const std::u16string& uuid) = 0;

  // Deletes the profile of this object's UUID, with its filters. Nothing is read, and whether the profile is stored is
  // not checked. The pointer must not be empty: an empty one ends the process. The manager does not hold the object,
  // which lives on without a name and must not be saved.
  virtual void deleteProfile(const std::shared_ptr<ExportProfile>& profile) = 0;

  // Does what createProfile(name, uuid) does, with a new UUID of the host's: so a name that any profile has is refused.
  std::shared_ptr<ExportProfile> createProfile(const std::u16string& name);

  virtual ~ExportProfileManager();
};

// Gives the manager of the profiles in this metadata; nothing is read yet. Error: ExportProfilesStartupFailure for an
// empty pointer.
PROJECT_SHARING_PROFILES_EXPORT std::unique_ptr<ExportProfileManager> createManager(
    std::shared_ptr<project::metadata::MetadataManager> metadataManager);

}  // namespace project::sharing::profiles
