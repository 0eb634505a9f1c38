#include "project/sharing/profiles/ExportProfileErrors.h"

#include "Samples.h"

namespace {

using namespace ORCHID::project::sharing;
using foundation::core::except::IException;
using project::exception::ProjectException;
using Texts = std::vector<std::u16string>;

// Of an error that `act` raises while another one is handled.
template <class Record, class Act>
void expectError(const std::string& key, const Texts& arguments, const Act& act) {
  using Error = foundation::core::except::Exception<Record, ProjectException>;
  SCOPED_TRACE(key);
  const std::size_t before = memory_host::errorIdentifiersMade;
  std::unique_ptr<IException> copy;
  try {
    try {
      throw std::range_error("outer");
    } catch (const std::range_error&) {
      act();
    }
  } catch (const ProjectException& caught) {
    ASSERT_EQ(typeid(caught), typeid(std::_Nested_exception<Error>));
    const auto& error = dynamic_cast<const std::_Nested_exception<Error>&>(caught);
    EXPECT_EQ(memory_host::errorIdentifiersMade, before + 1);
    Texts found;
    for (const auto& one : error.GetBaseMsgIDObj().arguments) found.push_back(std::get<std::u16string>(one));
    EXPECT_EQ(found, arguments);
    EXPECT_EQ(error.GetID(), "ORCHID:project:sharing:" + key);
    EXPECT_EQ(error.GetUnicodeMessageTxt(), u"host: message");
    EXPECT_GT(error.stackTrace().size(), 1U);
    EXPECT_THROW(error.rethrow_nested(), std::range_error);
    copy.reset(error.clone());
  }
  ASSERT_NE(copy, nullptr) << "nothing was raised";
  try {
    copy->rethrow();
  } catch (const IException& error) {
    EXPECT_NE(&error, copy.get());
    EXPECT_EQ(typeid(error), typeid(Error));
  }
}

TEST(Errors, CarryTheirRecordNestTheErrorBeingHandledAndAreThrownAgainWithoutTheirTypeBeingKnown) {
  using project::sharing::profiles::createManager;
  const auto metadata = std::make_shared<memory_host::MemoryMetadata>();
  samples::storeTwins(*metadata);
  const auto manager = createManager(metadata);
  expectError<ExportProfileUuidNotFound>("ExportProfileUuidNotFound", {u""}, [&] { manager->getProfileByUUID(u""); });
  expectError<ExportProfileNameNotFound>("ExportProfileNameNotFound", {u"Twin"},
                                         [&] { manager->getProfileByName(u"Twin"); });
  expectError<ExportProfileNameNotUnique>("ExportProfileNameNotUnique", {u"twin"},
                                          [&] { manager->getProfileByName(u"twin"); });
  expectError<ExportProfileAlreadyExists>("ExportProfileAlreadyExists", {}, [&] { manager->createProfile(u"twin"); });
  expectError<ExportProfilesStartupFailure>("ExportProfilesStartupFailure", {}, [] { createManager(nullptr); });
}

}  // namespace
