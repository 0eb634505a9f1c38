#include <gtest/gtest.h>

#include "Samples.h"
#include "project/sharing/profiles/ExportProfileErrors.h"

namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryMetadata;

template <class Action>
std::string errorOf(Action action) {
  try {
    action();
  } catch (const foundation::core::except::IMsgIDException& error) {
    return error.GetBaseMsgIDObj().key;
  }
  return "no error";
}

class Manager : public testing::Test {
 protected:
  // "name=uuid" of each profile, in list order.
  std::string listed() const {
    std::string result;
    for (const auto& profile : manager->getProfiles()) {
      result += memory_host::narrow(profile->getName()) + "=" + memory_host::narrow(profile->getUUID()) + " ";
    }
    return result;
  }
  // Past the duplicate test.
  void storeProfile(const std::u16string& name, const std::u16string& uuid,
                    const std::u16string& type = u"ExportProfile") {
    samples::store(*metadata, {{u"Export", u"Root"}, {type, uuid}}, u"Name", name);
  }

  std::shared_ptr<MemoryMetadata> metadata = std::make_shared<MemoryMetadata>();
  std::unique_ptr<ExportProfileManager> manager = createManager(metadata);
};

TEST_F(Manager, ListsByNameThenUuidInCodeUnitsAndNothingElse) {
  const std::pair<std::u16string, std::u16string> profiles[] = {
      {u"b", u"1"}, {u"a", u"3"}, {u"a", u"2"}, {u"Abc", u"4"}, {u"Ab", u"5"}, {u"Z", u"6"}, {u"", u"7"}};
  for (const auto& [name, uuid] : profiles) storeProfile(name, uuid);
  storeProfile(u"0", u"8", u"exportprofile");
  EXPECT_EQ(listed(), "=7 Ab=5 Abc=4 Z=6 a=2 a=3 b=1 ");
}

TEST_F(Manager, FindsByExactNameAndUuid) {
  EXPECT_EQ(listed(), "");
  EXPECT_EQ(errorOf([&] { manager->getProfileByName(u"a"); }), "ExportProfileNameNotFound");
  storeProfile(u"a", u"1");
  storeProfile(u"A", u"2");
  storeProfile(u"twice", u"3");
  storeProfile(u"twice", u"4");
  storeProfile(u"z", u"5");
  EXPECT_EQ(manager->getProfileByName(u"a")->getUUID(), u"1");
  EXPECT_EQ(manager->getProfileByUUID(u"4")->getName(), u"twice");
  EXPECT_EQ(errorOf([&] { manager->getProfileByName(u"twice"); }), "ExportProfileNameNotUnique");
  EXPECT_EQ(errorOf([&] { manager->getProfileByName(u" a"); }), "ExportProfileNameNotFound");
  EXPECT_EQ(errorOf([&] { manager->getProfileByUUID(u""); }), "ExportProfileUuidNotFound");
}

TEST_F(Manager, RefusesANameOnlyWhenAnotherUuidHasIt) {
  const auto first = manager->createProfile(u"y", u"u");
  first->addFilter(EXCLUDE_LABEL, {{u"c", u"l"}});
  first->save();

  EXPECT_EQ(errorOf([&] { manager->createProfile(u"y", u"other"); }), "ExportProfileAlreadyExists");
  EXPECT_EQ(errorOf([&] { manager->createProfile(u"y"); }), "ExportProfileAlreadyExists");
  EXPECT_EQ(listed(), "y=u ");
  EXPECT_EQ(manager->createProfile(u"y", u"u")->getFilters().size(), 1U);
  EXPECT_EQ(manager->createProfile(u"x", u"u")->getName(), u"x");
  EXPECT_EQ(listed(), "x=u ");
  EXPECT_EQ(manager->createProfile(u"free")->getUUID().rfind(u"uuid-", 0), 0U) << "the host's";
}

}  // namespace
