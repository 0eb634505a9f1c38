// The library itself, on the host. What it has to do is computed from what the suite set up, by code of the suite's
// own.
#include <map>

#include "Bench.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace host_conformance {

using namespace project::sharing::profiles;

namespace {

using Items = std::map<std::u16string, std::u16string>;  // by UUID, of which a profile stores one item each

std::vector<ExportStrategyItem> asItems(const Items& items) {
  std::vector<ExportStrategyItem> all;
  for (const auto& [uuid, category] : items) all.emplace_back(category, uuid);
  return all;
}

bool isListed(const Items& items, const Key& label) {
  const auto item = items.find(label.second);
  return item != items.end() && item->second == label.first;
}

// Labels of all kinds, one to three of them on most of many entries; gives the items of two filters.
std::pair<Items, Items> setUp(Bench& t) {
  const std::vector<std::u16string> names = hardNames({});
  for (int i = 0; i < 2; ++i) t.addLabels(names);
  for (std::size_t i = 0; i < names.size(); i += 3) t.addLabels({names[i]}, false);
  t.plant();
  for (std::size_t i = 0; i < MANY; ++i) t.addEntry(0, u"f" + number(i), false);
  auto random = [state = 1U]() mutable { return state = state * 1664525 + 1013904223, state >> 16; };
  std::pair<Items, Items> items;
  for (const Known& known : t.labels) {
    const auto [category, uuid] = keyOf(known.label);
    if (random() % 2 == 0) items.first.emplace(uuid, category);
    if (random() % 2 == 0) items.second.emplace(uuid, category);
  }
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    for (auto more = random() % 4; more > 0; --more) t.attach(i, t.labels[random() % t.labels.size()].label);
  }
  return items;
}

void apply(const std::u16string& profile, const Project& project) {
  project::sharing::SerializationData data;
  data.projectPath = project->getFileManager().getRootFolder();
  data.projectManagers[data.projectPath] = project;
  ExportProfileTransformation(profile).apply(data);
}

// On a working copy, where there are any, and on the project itself.
void checkShare(Bench& t, const std::u16string& ofFiles, const std::u16string& ofLabels) {
  const auto items = setUp(t);
  const auto profile = createManager(t.metadata)->createProfile(u"\u00E9");
  profile->addFilter(ofFiles, asItems(items.first));
  profile->addFilter(ofLabels, asItems(items.second));
  profile->save();
  const bool removesListed = ofLabels == EXCLUDE_LABEL;
  const auto isShared = [&](const Entry& entry) {
    const auto isOne = [&](const Key& label) { return isListed(items.first, label); };
    const auto begin = entry.labels.begin(), end = entry.labels.end();
    return removesListed ? std::none_of(begin, end, isOne) : begin != end && std::all_of(begin, end, isOne);
  };
  const auto isRemoved = [&](const Known& known) {
    return known.isRemovable && isListed(items.second, keyOf(known.label)) == removesListed;
  };
  std::vector<Project> projects = {t.host().project};
  if (t.host().workingCopy) projects.insert(projects.begin(), t.host().workingCopy());
  for (const Project& project : projects) {
    EXPECT_TRUE(same(factsOf(*project), t.facts())) << "before";
    apply(profile->getUUID(), project);
    EXPECT_TRUE(same(factsOf(*project), t.facts(isShared, isRemoved)));
  }
}

constexpr Clause SHARE_002("optional_SHARE_002_AProfileThatDropsLeavesWhatTheRuleSays",
                           [](Bench& t) { checkShare(t, EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL); });

constexpr Clause SHARE_003("optional_SHARE_003_AProfileThatKeepsLeavesWhatTheRuleSays",
                           [](Bench& t) { checkShare(t, INCLUDE_FILES_WITH_LABEL, INCLUDE_LABEL); });

using Filters = std::map<std::u16string, Items>;                                // by kind
using Profiles = std::map<std::u16string, std::pair<std::u16string, Filters>>;  // by UUID: a name, and filters

Profiles storedIn(const Metadata& metadata) {
  Profiles all;
  for (const auto& profile : createManager(metadata)->getProfiles()) {
    Filters filters;
    for (const auto& filter : profile->getFilters()) {
      const auto [known, isFirst] = filters.try_emplace(filter->getType());
      EXPECT_TRUE(isFirst) << "a filter comes twice";
      for (const auto& item : filter->getItems()) known->second.emplace(item.labelUUID, item.category);
    }
    EXPECT_TRUE(all.try_emplace(profile->getUUID(), profile->getName(), filters).second) << "a profile comes twice";
  }
  return all;
}

void saveFilters(ExportProfile& profile, const Filters& filters) {
  while (!profile.getFilters().empty()) profile.removeFilter(nullptr);  // the last
  for (const auto& [kind, items] : filters) profile.addFilter(kind, asItems(items));
  profile.save();
}

// By two sessions in turns, where there can be two.
constexpr Clause SHARE_004("required_SHARE_004_ProfilesAreStoredAsTheyWereEdited", [](Bench& t) {
  const Metadata second = t.host().openAgain ? t.host().openAgain()->getMetadataManager() : t.metadata;
  const auto session = [&](std::size_t turn) { return turn % 2 == 0 ? t.metadata : second; };
  const auto manager = [&](std::size_t turn) { return createManager(session(turn)); };
  Profiles profiles;
  const auto expectStored = [&](std::size_t turn, const char* what) {
    EXPECT_TRUE(storedIn(session(turn)) == profiles) << "after the other session has " << what;
  };
  expectStored(1, "made nothing");
  const std::vector<std::u16string> texts = hardTexts();
  const std::u16string kinds[] = {EXCLUDE_FILES_WITH_LABEL, INCLUDE_LABEL, INCLUDE_FILES_WITH_LABEL};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::u16string& uuid = texts[(i * 13) % texts.size()];
    auto& [name, filters] = profiles[uuid];
    name = uuid + u" made";
    filters = {{kinds[i % 3], {{uuid, uuid}, {u"b", uuid}}}, {kinds[(i + 1) % 3], {}}};
    const auto profile = manager(i)->createProfile(name, uuid);
    saveFilters(*profile, filters);
    expectStored(i + 1, "made a profile");
    name = uuid;
    manager(i + 1)->getProfileByUUID(uuid)->setName(uuid);
    EXPECT_EQ(profile->getName(), uuid) << "asked of an object that was made before";
    expectStored(i, "renamed one");
  }
  Filters& filters = profiles.begin()->second.second;
  filters = {{EXCLUDE_LABEL, {}}};
  for (std::size_t i = 0; i < texts.size(); ++i) filters[EXCLUDE_LABEL][texts[i]] = texts[texts.size() - 1 - i];
  for (std::size_t i = 0; i < MANY; ++i) filters[EXCLUDE_FILES_WITH_LABEL][number(i)] = u"many";
  saveFilters(*manager(0)->getProfileByUUID(profiles.begin()->first), filters);
  expectStored(1, "written many items");
  for (std::size_t turn = 0; !profiles.empty(); ++turn) {
    manager(turn)->deleteProfile(manager(turn)->getProfileByName(profiles.begin()->second.first));
    profiles.erase(profiles.begin());
    expectStored(turn + 1, "deleted one");
  }
});

constexpr Clause COPY_001("optional_COPY_001_AWorkingCopyAndItsProjectShareNothing", [](Bench& t) {
  const auto& workingCopy = t.hook(&Host::workingCopy, "workingCopy");
  const std::u16string root = t.project().getFileManager().getRootFolder().text();
  std::size_t inner = TOP;  // a folder, and in it again what the root folder's text has
  for (std::size_t i = 0, size = 0; i < root.size(); i += size + 1) {
    size = std::min(root.find_first_of(u"/\\:", i), root.size()) - i;
    if (size > 0) inner = t.addEntry(inner, root.substr(i, size), true);
  }
  const std::size_t folder = t.addEntry(TOP, u"d", true), file = t.addEntry(folder, u"f", false);
  for (const bool isRemovable : {true, false}) t.addLabels({u"c"}, isRemovable);
  for (const std::size_t entry : {folder, file}) t.attach(entry, t.labels[0].label);
  const Node node = at({u"a", u"b"});
  t.write({node}, u"old");
  const Facts facts = t.facts();
  const auto expectBefore = [&](const Project& project) {
    EXPECT_TRUE(same(factsOf(*project), facts));
    const Content content = project->getMetadataManager()->getNode(pathOf(node));
    EXPECT_EQ(content ? content->getValue(u"Data") : u"(none)", u"old");
  };
  const auto strip = [&](const Project& project) {
    t.removeLabel(*project, t.labels[0].label);
    project->getFileManager().removeFiles(project->getFileManager().getFiles());
    project->getMetadataManager()->setNodes({{pathOf(node), holding(u"new")}});
  };
  const Project stripped = workingCopy(), other = workingCopy();
  expectBefore(stripped);
  strip(stripped);
  expectBefore(other);
  expectBefore(t.host().project);
  t.attach(file, t.labels[1].label);
  t.addEntry(folder, u"g", false);
  t.addLabels({u"e"});
  strip(t.host().project);
  expectBefore(other);
  const std::size_t late = t.addEntry(t.addEntry(TOP, u"e", true), u"g", false);
  workingCopy();
  t.attach(late, t.labels[1].label);
  EXPECT_TRUE(same(factsOf(*workingCopy()), factsOf(*t.host().project))) << "of a copy that is made now";
});

}  // namespace

Clauses sharingClauses() { return {SHARE_002, SHARE_003, SHARE_004, COPY_001}; }

}  // namespace host_conformance
