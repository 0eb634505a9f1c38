#include "project/sharing/profiles/ExportProfileManager.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "errors/Raise.h"
#include "model/ExportProfileBase.h"
#include "model/StoredLayout.h"
#include "project/metadata/MetadataManager.h"
#include "project/sharing/profiles/ExportProfileErrors.h"

namespace project::sharing::profiles {

using project::metadata::MetadataManager;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::MetadataScopeGuard;

namespace errors = ORCHID::project::sharing;

namespace {

using Profiles = std::vector<std::shared_ptr<ExportProfile>>;

class ExportProfileManagerBase final : public ExportProfileManager {
 public:
  explicit ExportProfileManagerBase(std::shared_ptr<MetadataManager> manager) : metadataManager(std::move(manager)) {}

  Profiles getProfiles() override;
  std::shared_ptr<ExportProfile> getProfileByName(const std::u16string& name) override;
  std::shared_ptr<ExportProfile> getProfileByUUID(const std::u16string& uuid) override;
  std::shared_ptr<ExportProfile> createProfile(const std::u16string& name, const std::u16string& uuid) override;
  void deleteProfile(const std::shared_ptr<ExportProfile>& profile) override;

 private:
  std::shared_ptr<ExportProfile> profileOf(const std::u16string& uuid) const {
    return std::make_shared<ExportProfileBase>(uuid, metadataManager);
  }

  std::shared_ptr<MetadataManager> metadataManager;
};

struct Listed {
  std::shared_ptr<ExportProfile> profile;
  std::optional<std::u16string> name;
};

// Reads the name at every comparison, as hosts are used to, but gives the one that was read first. So a listing has one
// order even where names change meanwhile; std::sort with an order that changes runs out of its range.
const std::u16string& nameOf(Listed& listed) {
  std::u16string name = listed.profile->getName();
  if (!listed.name) listed.name = std::move(name);
  return *listed.name;
}

bool comesBefore(Listed* a, Listed* b) {
  const std::u16string& nameOfA = nameOf(*a);
  const int order = nameOfA.compare(nameOf(*b));
  return order != 0 ? order < 0 : a->profile->getUUID() < b->profile->getUUID();
}

Profiles sorted(const Profiles& profiles) {
  std::vector<Listed> listed;
  for (const std::shared_ptr<ExportProfile>& profile : profiles) listed.push_back({profile, {}});
  std::vector<Listed*> order(listed.size());
  std::transform(listed.begin(), listed.end(), order.begin(), [](Listed& one) { return &one; });
  std::sort(order.begin(), order.end(), comesBefore);
  Profiles result;
  for (const Listed* one : order) result.push_back(one->profile);
  return result;
}

Profiles ExportProfileManagerBase::getProfiles() {
  const MetadataScopeGuard scope = metadataManager->beginReadScope();
  // The scope covers every profile's own read scope, so that all are read from one state of the store.
  const MetadataPath root = profilesRootPath();
  if (!metadataManager->nodeExists(root)) return {};
  Profiles profiles;
  for (const MetadataPath& child : metadataManager->getChildPaths(root)) {
    if (child.getLeaf().getType() == PROFILE_TYPE) profiles.push_back(profileOf(child.getLeaf().getLocation()));
  }
  return sorted(profiles);
}

std::shared_ptr<ExportProfile> ExportProfileManagerBase::getProfileByName(const std::u16string& name) {
  Profiles found = getProfiles();
  // Each name is read again, after the listing has read it to sort: the calls of a look-up are fixed.
  const auto isOther = [&](const std::shared_ptr<ExportProfile>& profile) { return profile->getName() != name; };
  found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
  if (found.empty()) raise(errors::ExportProfileNameNotFound(name));
  if (found.size() > 1) raise(errors::ExportProfileNameNotUnique(name));
  return found.front();
}

std::shared_ptr<ExportProfile> ExportProfileManagerBase::getProfileByUUID(const std::u16string& uuid) {
  // The node's path is known, but the calls of a look-up are fixed: it goes through the listing.
  for (const std::shared_ptr<ExportProfile>& profile : getProfiles()) {
    if (profile->getUUID() == uuid) return profile;
  }
  raise(errors::ExportProfileUuidNotFound(uuid));
}

std::shared_ptr<ExportProfile> ExportProfileManagerBase::createProfile(const std::u16string& name,
                                                                       const std::u16string& uuid) {
  // The name is looked for and taken in one scope: otherwise two sessions could take it at once. The filters of a
  // stored profile of this UUID remain, since setNodes does not touch what lies below a node.
  const MetadataScopeGuard scope = metadataManager->beginWriteScope();
  for (const std::shared_ptr<ExportProfile>& profile : getProfiles()) {
    if (profile->getName() == name && profile->getUUID() != uuid) raise(errors::ExportProfileAlreadyExists());
  }
  auto node = std::make_shared<MetadataNodeSpecification>();
  node->put(NAME_KEY, name);
  metadataManager->setNodes({{profilePath(uuid), std::move(node)}});
  return profileOf(uuid);
}

// Reads nothing, so that it deletes a damaged profile too: what is damaged throws when it is read.
void ExportProfileManagerBase::deleteProfile(const std::shared_ptr<ExportProfile>& profile) {
  const MetadataScopeGuard scope = metadataManager->beginWriteScope();
  metadataManager->removeNodes({profilePath(profile->getUUID())});
}

}  // namespace

std::shared_ptr<ExportProfile> ExportProfileManager::createProfile(const std::u16string& name) {
  return createProfile(name, project::metadata::generateUUID());
}

ExportProfileManager::~ExportProfileManager() = default;

std::unique_ptr<ExportProfileManager> createManager(std::shared_ptr<MetadataManager> metadataManager) {
  if (!metadataManager) raise(errors::ExportProfilesStartupFailure());
  return std::make_unique<ExportProfileManagerBase>(std::move(metadataManager));
}

}  // namespace project::sharing::profiles
