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
  const std::size_t before = memory_host::pathQuestions().parents;
  samples::filterOf(EXCLUDE_FILES_WITH_LABEL, {itemL})->apply(host);
  EXPECT_EQ(host.texts().size(), 611U);
  EXPECT_EQ(memory_host::pathQuestions().parents - before, 612U);
  EXPECT_EQ(memory_host::pathQuestions().misuses, 0U);
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

TEST_F(MeddlingHost, FindsTheTransformationGoingOnWithTheProjectThatItFound) {
  const std::weak_ptr<project::management::ProjectManager> found = data.projectManagers.at(data.projectPath);
  probe.onCall = [&](const std::string&) {
    data.projectManagers.clear();
    EXPECT_FALSE(found.expired());
  };
  EXPECT_NO_THROW(ExportProfileTransformation(u"").apply(data));
}

}  // namespace
