#include "Samples.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "project/sharing/profiles/LabelFilter.h"

namespace {

using namespace project::sharing::profiles;
using memory_host::LabelKey;
using memory_host::MemoryProject;
using memory_host::Probe;
using samples::Calls;
using samples::Items;
using Texts = std::vector<std::u16string>;
using namespace std::string_literals;

const LabelKey L{u"c", u"L"}, M{u"c", u"M"};
const ExportStrategyItem itemL{u"c", u"L"}, itemM{u"c", u"M"};

// Lists what it has backwards.
class BackwardMetadata final : public memory_host::MemoryMetadata {
  std::vector<project::metadata::MetadataPath> getChildPaths(const project::metadata::MetadataPath& path) override {
    auto children = MemoryMetadata::getChildPaths(path);
    return {children.rbegin(), children.rend()};
  }
};

TEST(Profiles, OfOneNameAreListedByUuidInWhateverOrderTheHostHasThem) {
  const auto metadata = std::make_shared<BackwardMetadata>();
  samples::storeTwins(*metadata);
  const auto profiles = createManager(metadata)->getProfiles();
  EXPECT_EQ(profiles.at(0)->getUUID() + profiles.at(1)->getUUID(), u"23");
}

TEST(Profiles, AreReadWhateverElseIsStoredAndMissedWhereAValueIs) {
  MemoryProject host;
  const project::metadata::PathElement root{u"Export", u"Root"}, profile{u"ExportProfile", u"1"};
  const auto manager = createManager(host.metadata);
  manager->createProfile(u"", u"1");
  samples::store(*host.metadata, {root, {u"exportprofile", u"2"}}, u"Name", u"of another type");
  samples::store(*host.metadata, {root, profile, {u"Filter", u"label"}, {u"Filter", u"L"}}, u"Data", u"of no kind");
  samples::store(*host.metadata, {root, profile, {u"Any", u"Label"}, {u"filter", u"M"}}, u"Data", u"of no type");
  const auto filters = manager->getProfiles().at(0)->getFilters();
  ASSERT_EQ(filters.size(), 1U);
  EXPECT_EQ(filters[0]->getItems(), Items());
  samples::store(*host.metadata, {root, profile, {u"Any", u"Label"}, {u"Filter", u"L"}}, u"data", u"under another key");
  EXPECT_THROW(manager->getProfiles(), std::out_of_range);
}

TEST(FileLabelFilter, SparesAFolderThatIsListedTwiceOnce) {
  MemoryProject host;
  for (int i = 0; i < 2; ++i) host.addFolder(u"/p/d", {L});
  host.addFile(u"/p/d/x");
  samples::filterOf(EXCLUDE_FILES_WITH_LABEL, {itemL})->apply(host);
  EXPECT_EQ(host.texts(), (Texts{u"/p/d", u"/p/d/x"}));
}

TEST(FileLabelFilter, AsksForTheParentOfEachFolderOnceHoweverDeepAndOfNoEmptyText) {
  MemoryProject host;
  for (const auto* odd : {u"", u"relative", u"/q/x"}) host.addFile(odd);
  std::u16string folder = u"/p";
  for (int depth = 0; depth < 200; ++depth) {
    folder += u"/d";
    host.addFolder(folder, {L});
    for (const auto* name : {u"/a", u"/b"}) host.addFile(folder + name);
  }
  for (const auto& alike : {u"/p/Ab"s, u"/p/A"s, u"/p/\u0141"s, u"/p/\u0141\0"s}) {  // each and the one before it
    host.addFolder(alike, {L});
    host.addFile(alike + u"/a");
  }
  const std::size_t before = memory_host::parentsAsked;
  samples::filterOf(EXCLUDE_FILES_WITH_LABEL, {itemL})->apply(host);
  EXPECT_EQ(host.texts().size(), 611U);
  EXPECT_EQ(memory_host::parentsAsked - before, 612U);
  EXPECT_EQ(memory_host::misuses, 0U);
}

TEST(Filters, TellLabelsOfOneUuidApartByTheirCategory) {
  const Texts listed{u"c\0x"s, u"d", u"e"};
  Items items;
  for (const auto& category : listed) items.insert(items.end(), {{category, L.second}, {category, M.second}});
  items.push_back({u"f", u"another"});
  MemoryProject host;
  for (const auto& category : {u""s, u"c"s, u"c\0y"s, u"f"s, listed[0], listed[1], listed[2]}) {
    host.addLabel(category, L.second);
    host.addFile(u"/p/" + category, {{category, L.second}});
  }
  for (const auto& kind : {EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL}) samples::filterOf(kind, items)->apply(host);
  EXPECT_EQ(host.texts(), (Texts{u"/p/", u"/p/c", u"/p/c\0y"s, u"/p/f"}));
  EXPECT_EQ(host.labels.size(), 4U);
}

// Answers of its own, unsorted and with a double, and a list of when it was asked.
class OwnAnswers final : public LabelFilter {
 public:
  explicit OwnAnswers(Probe& probe) : LabelFilter(INCLUDE_LABEL), probe_(probe) {}

  std::u16string getType() const override { return probe_.call("getType"), EXCLUDE_LABEL; }
  std::vector<ExportStrategyItem> getItems() const override {
    return probe_.call("getItems"), Items{itemM, itemL, itemM};
  }

 private:
  Probe& probe_;
};

TEST(LabelFilter, AsksItselfThroughItsVirtualOperations) {
  MemoryProject host;
  host.addLabel(M.first, M.second);
  Probe probe;
  OwnAnswers(probe).apply(*memory_host::probed(host, probe));
  EXPECT_EQ(probe.calls(), (Calls{"getItems", "getLabelManager", "getCategories", "getLabels c", "getType",
                                  "removeLabel c/M false", "getLabels c", "removeCategory c"}));
}

// A host that changes, while it is called, what its caller works on.
class MeddlingHost : public testing::Test {
 protected:
  MeddlingHost() { data.projectManagers[data.projectPath] = memory_host::probed(host, probe); }
  auto& stripped() { return *data.projectManagers.at(data.projectPath); }

  MemoryProject host;
  Probe probe;
  project::sharing::SerializationData data;
  std::shared_ptr<ExportProfile> profile = createManager(host.metadata)->createProfile(u"named by no text", u"");
};

TEST_F(MeddlingHost, FindsTheFilterReadingItsKindAfterTheRootAndAgainForEachEntryWithoutLabels) {
  host.addFile(u"/p/a", {L});
  for (const auto* file : {u"/p/b", u"/p/c"}) host.addFile(file);
  const auto filter = profile->addFilter(INCLUDE_FILES_WITH_LABEL, {itemL});
  probe.onCall = [&](const std::string& call) {
    if (call == "getRootFolder" || call == "getFileLabels /p/c") filter->setType(EXCLUDE_FILES_WITH_LABEL);
    if (call == "getFileLabels /p/b") filter->setType(INCLUDE_FILES_WITH_LABEL);
  };
  filter->apply(stripped());
  EXPECT_EQ(host.texts(), Texts{u"/p/c"});
}

TEST_F(MeddlingHost, FindsTheProfileApplyingTheFiltersThatItHadAtTheBeginning) {
  profile->addFilter(EXCLUDE_FILES_WITH_LABEL, {});
  profile->addFilter(EXCLUDE_LABEL, {itemL});
  probe.onCall = [&](const std::string& call) {
    if (call == "getFileManager") profile->removeFilter(nullptr);
  };
  profile->apply(stripped());
  EXPECT_EQ(probe.calls().back(), "getCategories");
}

TEST_F(MeddlingHost, FindsTheProfileSavingTheFiltersThatItHadAtTheBeginning) {
  const auto edited = createManager(stripped().getMetadataManager())->getProfileByUUID(u"");
  for (const auto& kind : {EXCLUDE_LABEL, INCLUDE_LABEL, EXCLUDE_FILES_WITH_LABEL}) edited->addFilter(kind, {itemL});
  probe.onCall = [&](const std::string& call) {
    const auto filters = edited->getFilters();
    if (call.rfind("setNodes", 0) == 0 && !filters.empty()) edited->removeFilter(filters.front());
  };
  edited->save();
  const auto saved = createManager(host.metadata)->getProfileByUUID(u"")->getFilters();
  EXPECT_EQ(saved.size(), 3U);
  for (const auto& filter : saved) EXPECT_EQ(filter->getItems().size(), 1U);
}

TEST_F(MeddlingHost, FindsProfilesSortedByTheNamesThatWereReadFirst) {
  std::map<std::u16string, std::u16string> firstNames = {{u"", {}}};
  for (char16_t uuid = u'A'; uuid < u'Z'; ++uuid) {
    firstNames[{uuid}];
    createManager(host.metadata)->createProfile({uuid}, {uuid});
  }
  char16_t latest = 0xFFFF;
  probe.onCall = [&](const std::string& call) {
    if (call.rfind("getNode", 0) != 0) return;
    const std::u16string uuid(call.begin() + static_cast<std::ptrdiff_t>(call.rfind(':')) + 1, call.end());
    if (firstNames.at(uuid).empty()) firstNames[uuid].push_back(latest);
    samples::store(*host.metadata, {{u"Export", u"Root"}, {u"ExportProfile", uuid}}, u"Name", {latest--});
  };
  const auto listed = createManager(stripped().getMetadataManager())->getProfiles();
  EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end(), [&](const auto& a, const auto& b) {
    return firstNames.at(a->getUUID()) < firstNames.at(b->getUUID());
  }));
}

TEST_F(MeddlingHost, FindsTheTransformationGoingOnWithTheProjectThatItFound) {
  const std::weak_ptr<project::management::ProjectManager> found = data.projectManagers.at(data.projectPath);
  probe.onCall = [&](const std::string&) {
    data.projectManagers.clear();
    EXPECT_FALSE(found.expired());
  };
  EXPECT_NO_THROW(ExportProfileTransformation(u"").apply(data));
}

}  // namespace
