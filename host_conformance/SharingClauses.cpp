// The library itself, on the host. What has to come of it is computed from what the suite set up, by a rule of its own.
#include <map>
#include <random>

#include "Bench.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace host_conformance {

using namespace project::sharing::profiles;
using project::management::ProjectManager;
using project::metadata::MetadataManager;

namespace {

using Key = std::pair<std::u16string, std::u16string>;   // a label's category and UUID
using Items = std::map<std::u16string, std::u16string>;  // by UUID: a profile stores one item of each

bool isListed(const Items& items, const Key& label) {
  const auto item = items.find(label.second);
  return item != items.end() && item->second == label.first;
}

std::vector<ExportStrategyItem> asItems(const Items& items) {
  std::vector<ExportStrategyItem> all;
  for (const auto& [uuid, category] : items) all.emplace_back(category, uuid);
  return all;
}

struct Known {
  Label label;
  bool isRemovable;
};

// What a project holds, and a rule that strips it.
struct Share {
  std::vector<Known> labels;
  Items ofFiles, ofLabels;  // what the filters list
  bool listedGo;

  bool goes(const Known& known) const {
    return known.isRemovable && isListed(ofLabels, keyOf(known.label)) == listedGo;
  }
  bool stays(const Entry& entry) const {
    const auto isOne = [this](const Key& label) { return isListed(ofFiles, label); };
    if (listedGo) return std::none_of(entry.labels.begin(), entry.labels.end(), isOne);
    return !entry.labels.empty() && std::all_of(entry.labels.begin(), entry.labels.end(), isOne);
  }
};

Share setUp(Bench& t, bool listedGo) {
  Share share{{}, {}, {}, listedGo};
  const std::vector<std::u16string> categories = hardCategories();
  for (const bool isRemovable : {true, true, false}) {  // every third category has one that stays
    for (std::size_t i = 0; i < categories.size(); i += isRemovable ? 1 : 3) {
      for (const Label& label : t.addLabels({categories[i]}, isRemovable)) share.labels.push_back({label, isRemovable});
    }
  }
  t.plant();
  for (std::size_t i = 0; i < MANY; ++i) t.addEntry(0, u"f" + number(i), false);
  std::minstd_rand random;
  for (const Known& known : share.labels) {
    if (random() % 2 == 0) share.ofFiles.emplace(known.label.getUUID(), known.label.getCategory().toString());
    if (random() % 2 == 0) share.ofLabels.emplace(known.label.getUUID(), known.label.getCategory().toString());
  }
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    for (auto more = random() % 4; more > 0; --more) t.attach(i, share.labels[random() % share.labels.size()].label);
  }
  return share;
}

void expectToHold(ProjectManager& project, const Listing& entries, const Share& share, bool isShared) {
  Removable labels;
  Texts categories = {};
  for (const Known& known : share.labels) {
    if (isShared && share.goes(known)) continue;
    const auto& [category, uuid] = keyOf(known.label);
    labels.emplace(category, uuid, known.isRemovable);
    if (categories.count(category) == 0) categories.insert(category);
  }
  EXPECT_TRUE(same(entriesOf(project), entries));
  EXPECT_TRUE(same(labelsOf(project), labels));
  EXPECT_TRUE(same(categoriesOf(project), categories));
}

void apply(const std::u16string& profile, const Project& project) {
  project::sharing::SerializationData data;
  data.projectPath = project->getFileManager().getRootFolder();
  data.projectManagers[data.projectPath] = project;
  ExportProfileTransformation(profile).apply(data);
}

Listing leftBy(const Bench& t, const Share& share) {
  Listing all;
  for (auto [text, isFolder, labels] : t.planted([&](const Entry& entry) { return share.stays(entry); })) {
    for (const Known& known : share.labels) {
      if (share.goes(known)) labels.erase(keyOf(known.label));
    }
    all.emplace(text, isFolder, labels);
  }
  return all;
}

// On a working copy, where there are any, and on the project itself.
void checkShare(Bench& t, const std::u16string& ofFiles, const std::u16string& ofLabels) {
  const Share share = setUp(t, ofLabels == EXCLUDE_LABEL);
  const auto profile = createManager(t.metadata)->createProfile(u"\u00E9");
  profile->addFilter(ofFiles, asItems(share.ofFiles));
  profile->addFilter(ofLabels, asItems(share.ofLabels));
  profile->save();
  const Listing before = t.planted(), after = leftBy(t, share);
  if (t.has(&Host::workingCopy)) {
    const Project copy = t.hook(&Host::workingCopy, "workingCopy")();
    expectToHold(*copy, before, share, false);
    apply(profile->getUUID(), copy);
    expectToHold(*copy, after, share, true);
  }
  SCOPED_TRACE("the project itself");
  expectToHold(*t.project(), before, share, false);
  apply(profile->getUUID(), t.project());
  expectToHold(*t.project(), after, share, true);
}

constexpr Clause SHARE_002("optional_SHARE_002_AProfileThatDropsLeavesWhatTheRuleSays",
                           [](Bench& t) { checkShare(t, EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL); });

constexpr Clause SHARE_003("optional_SHARE_003_AProfileThatKeepsLeavesWhatTheRuleSays",
                           [](Bench& t) { checkShare(t, INCLUDE_FILES_WITH_LABEL, INCLUDE_LABEL); });

struct Stored {
  std::u16string name;
  std::map<std::u16string, Items> filters;  // by kind

  bool operator==(const Stored& other) const { return name == other.name && filters == other.filters; }
};
using Profiles = std::map<std::u16string, Stored>;  // by UUID

Profiles storedIn(const std::shared_ptr<MetadataManager>& metadata) {
  Profiles all;
  for (const auto& profile : createManager(metadata)->getProfiles()) {
    Stored stored{profile->getName(), {}};
    for (const auto& filter : profile->getFilters()) {
      const auto [known, isFirst] = stored.filters.try_emplace(filter->getType());
      EXPECT_TRUE(isFirst) << "a filter comes twice";
      for (const auto& item : filter->getItems()) known->second.emplace(item.labelUUID, item.category);
    }
    EXPECT_TRUE(all.emplace(profile->getUUID(), stored).second) << "a profile comes twice";
  }
  return all;
}

void saveFilters(ExportProfile& profile, const Stored& stored) {
  while (!profile.getFilters().empty()) profile.removeFilter(profile.getFilters().front());
  for (const auto& [kind, items] : stored.filters) profile.addFilter(kind, asItems(items));
  profile.save();
}

constexpr Clause SHARE_004("optional_SHARE_004_TwoSessionsEditTheSameProfiles", [](Bench& t) {
  const std::vector<std::shared_ptr<MetadataManager>> sessions = {
      t.metadata, t.hook(&Host::openAgain, "openAgain")()->getMetadataManager()};
  const auto manager = [&](std::size_t turn) { return createManager(sessions[turn % 2]); };
  Profiles profiles;
  const auto expectStored = [&](std::size_t turn, const char* what) {
    EXPECT_TRUE(storedIn(sessions[turn % 2]) == profiles) << "after the other session has " << what;
  };
  const std::vector<std::u16string> texts = hardTexts(),
                                    kinds = {EXCLUDE_FILES_WITH_LABEL, INCLUDE_LABEL, INCLUDE_FILES_WITH_LABEL};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::u16string& uuid = texts[(i * 13) % texts.size()];
    Stored& stored = profiles[uuid];
    stored = {uuid + u" made", {{kinds[i % 3], {{uuid, uuid}, {u"b", uuid}}}, {kinds[(i + 1) % 3], {}}}};
    const auto profile = manager(i)->createProfile(stored.name, uuid);
    saveFilters(*profile, stored);
    expectStored(i + 1, "made a profile");
    stored.name = uuid;
    manager(i + 1)->getProfileByUUID(uuid)->setName(uuid);
    EXPECT_EQ(profile->getName(), uuid) << "asked of an object that was made before";
    expectStored(i, "renamed one");
  }
  Stored& changed = profiles.begin()->second;
  changed.filters = {{EXCLUDE_LABEL, {}}};
  for (std::size_t i = 0; i < texts.size(); ++i) changed.filters[EXCLUDE_LABEL][texts[i]] = texts[texts.size() - 1 - i];
  for (std::size_t i = 0; i < MANY; ++i) changed.filters[EXCLUDE_FILES_WITH_LABEL][number(i)] = u"many";
  saveFilters(*manager(0)->getProfileByUUID(profiles.begin()->first), changed);
  expectStored(1, "written many items");
  for (std::size_t turn = 0; !profiles.empty(); ++turn) {
    manager(turn)->deleteProfile(manager(turn)->getProfileByName(profiles.begin()->second.name));
    profiles.erase(profiles.begin());
    expectStored(turn + 1, "deleted one");
  }
});

constexpr Clause COPY_001("optional_COPY_001_AWorkingCopyAndItsProjectShareNothing", [](Bench& t) {
  const auto& workingCopy = t.hook(&Host::workingCopy, "workingCopy");
  const std::size_t folder = t.addEntry(TOP, u"d", true), file = t.addEntry(folder, u"f", false);
  const Label label = t.addLabel(u"c"), kept = t.addLabel(u"d", false);
  for (const std::size_t entry : {folder, file}) t.attach(entry, label);
  const Node node = at({u"a", u"b"});
  t.write(node, u"old");
  const Listing entries = t.planted();
  const Removable labels = labelsOf(*t.project());
  const auto expectBefore = [&](const Project& project) {
    EXPECT_EQ(entriesOf(*project), entries);
    EXPECT_EQ(labelsOf(*project), labels);
    const Content content = project->getMetadataManager()->getNode(pathOf(node));
    EXPECT_EQ(content ? content->getValue(u"Data") : u"(none)", u"old");
  };
  const auto strip = [&](const Project& project) {
    project->getLabelManager().removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
    project->getLabelManager().removeCategory(label.getCategory());
    project->getFileManager().removeFiles(project->getFileManager().getFiles());
    project->getMetadataManager()->removeNodes({pathOf(at({u"a"}))});
  };
  const Project stripped = workingCopy(), other = workingCopy();
  for (const Project& copy : {stripped, other}) expectBefore(copy);
  strip(stripped);
  expectBefore(other);
  expectBefore(t.project());
  t.attach(file, kept);
  t.addEntry(folder, u"g", false);
  t.addLabel(u"e");
  t.write(node, u"new");
  expectBefore(other);
  strip(t.project());
  expectBefore(other);
});

}  // namespace

Clauses sharingClauses() { return {SHARE_002, SHARE_003, SHARE_004, COPY_001}; }

}  // namespace host_conformance
