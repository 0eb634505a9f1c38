#include <gtest/gtest.h>

#include <stdexcept>

#include "Samples.h"

namespace {

using namespace project::sharing::profiles;
using project::metadata::PathElement;
using samples::Items;

using Kinds = std::vector<std::u16string>;
using Filters = std::vector<std::shared_ptr<ExportFilter>>;

class Profile : public testing::Test {
 protected:
  std::shared_ptr<ExportProfile> loadAgain() const { return manager->getProfileByUUID(u"u"); }
  static std::vector<PathElement> nodeBelow(std::vector<PathElement> rest) {
    rest.insert(rest.begin(), {{u"Export", u"Root"}, {u"ExportProfile", u"u"}});
    return rest;
  }

  std::shared_ptr<memory_host::MemoryMetadata> metadata = std::make_shared<memory_host::MemoryMetadata>();
  std::unique_ptr<ExportProfileManager> manager = createManager(metadata);
  std::shared_ptr<ExportProfile> profile = manager->createProfile(u"name", u"u");
};

TEST_F(Profile, PutsFileFiltersFirstAndLabelFiltersLastAndKnowsNoOtherKind) {
  for (const std::u16string kind : {u"Label", u"IncludeLabels", u"FileLabel", u"IncludeFilesWithLabel", u"Label"}) {
    const auto filter = profile->addFilter(kind, {{u"b", u"2"}, {u"a", u"1"}});
    ASSERT_TRUE(filter);
    EXPECT_EQ(filter->getItems(), (Items{{u"a", u"1"}, {u"b", u"2"}}));
  }
  for (const auto* kind : {u"label", u"", u"Labels", u"FileLabe"}) EXPECT_FALSE(profile->addFilter(kind, {}));
  EXPECT_EQ(samples::kindsOf(*profile),
            (Kinds{u"IncludeFilesWithLabel", u"FileLabel", u"Label", u"IncludeLabels", u"Label"}));
}

TEST_F(Profile, RemovingAnAbsentFilterTakesTheLastOne) {
  const auto a = profile->addFilter(EXCLUDE_LABEL, {});
  const auto b = profile->addFilter(INCLUDE_LABEL, {});
  const auto c = profile->addFilter(EXCLUDE_LABEL, {});
  const std::pair<std::shared_ptr<ExportFilter>, Filters> removals[] = {
      {samples::filterOf(EXCLUDE_LABEL, {}), {a, b}}, {a, {b}}, {nullptr, {}}, {b, {}}};
  for (const auto& [removed, left] : removals) {
    profile->removeFilter(removed);
    EXPECT_EQ(profile->getFilters(), left);
  }
}

TEST_F(Profile, SavesEachFilterAndItemAsANodeAndReadsThemBack) {
  profile->addFilter(INCLUDE_LABEL, {{u"category", u"label"}, {u"", u""}});
  profile->addFilter(EXCLUDE_FILES_WITH_LABEL, {});
  EXPECT_TRUE(loadAgain()->getFilters().empty());
  profile->save();

  const auto item =
      metadata->getNode(samples::pathOf(nodeBelow({{u"Filter", u"IncludeLabels"}, {u"Filter", u"label"}})));
  ASSERT_TRUE(item);
  EXPECT_EQ(item->getValue(u"Data"), u"category");
  const auto again = loadAgain();
  EXPECT_EQ(samples::kindsOf(*again), (Kinds{u"FileLabel", u"IncludeLabels"}));
  EXPECT_EQ(again->getFilters()[1]->getItems(), (Items{{u"", u""}, {u"category", u"label"}}));
}

TEST_F(Profile, FiltersOfOneKindAndItemsOfOneUuidAreStoredAsOne) {
  profile->addFilter(EXCLUDE_LABEL, {{u"a", u"1"}, {u"b", u"same"}});
  profile->addFilter(EXCLUDE_LABEL, {{u"c", u"same"}});
  profile->save();
  const auto again = loadAgain();
  ASSERT_EQ(samples::kindsOf(*again), Kinds{u"Label"});
  EXPECT_EQ(again->getFilters()[0]->getItems(), (Items{{u"a", u"1"}, {u"c", u"same"}}));
}

TEST_F(Profile, SkipsWhatItDoesNotKnowAndLoadsFileFiltersInReverse) {
  samples::store(*metadata, nodeBelow({{u"Filter", u"Label"}, {u"filter", u"1"}}), u"Data", u"a");
  samples::store(*metadata, nodeBelow({{u"Filter", u"Label"}, {u"Filter", u"2"}}), u"Data", u"b");
  samples::store(*metadata, nodeBelow({{u"Filter", u"Unknown"}, {u"Filter", u"1"}}), u"Data", u"a");
  samples::store(*metadata, nodeBelow({{u"Any", u"FileLabel"}}));
  samples::store(*metadata, nodeBelow({{u"Filter", u"IncludeLabels"}}));
  samples::store(*metadata, nodeBelow({{u"Filter", u"IncludeFilesWithLabel"}}));
  const auto again = loadAgain();
  EXPECT_EQ(samples::kindsOf(*again), (Kinds{u"IncludeFilesWithLabel", u"FileLabel", u"IncludeLabels", u"Label"}));
  EXPECT_EQ(again->getFilters()[3]->getItems(), (Items{{u"b", u"2"}}));
}

TEST_F(Profile, ThatWasDeletedHasNoNameAndIsNotWritten) {
  manager->deleteProfile(profile);
  EXPECT_THROW(profile->getName(), std::out_of_range);
  EXPECT_THROW(profile->setName(u"x"), std::out_of_range);
  EXPECT_FALSE(metadata->nodeExists(samples::pathOf(nodeBelow({}))));
}

TEST_F(Profile, AppliesTheFiltersThatItHadAtTheBeginning) {
  profile->addFilter(EXCLUDE_FILES_WITH_LABEL, {});
  profile->addFilter(EXCLUDE_LABEL, {{u"a", u"1"}});
  memory_host::MemoryProject host;
  memory_host::Probe probe;
  probe.onCall = [&](const std::string& call) {
    if (call == "getFileManager") profile->removeFilter(nullptr);
  };
  profile->apply(*memory_host::probed(host, probe));
  EXPECT_EQ(probe.calls().back(), "getCategories");
}

}  // namespace
