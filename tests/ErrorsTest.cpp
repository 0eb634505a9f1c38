#include "project/sharing/profiles/ExportProfileErrors.h"

#include "Samples.h"

namespace {

using namespace ORCHID::project::sharing;
using foundation::core::except::IException;
using foundation::core::except::IMsgIDException;
using project::exception::ProjectException;
using samples::ExportProfileManager;

struct Row {
  const char* key;
  std::vector<std::u16string> arguments;
  void (*raise)(ExportProfileManager& ofTwins);
  const std::type_info *type, *nestedType;
};

template <class X>
Row row(const char* key, std::vector<std::u16string> arguments, void (*raise)(ExportProfileManager&)) {
  using Error = foundation::core::except::Exception<X, ProjectException>;
  return {key, std::move(arguments), raise, &typeid(Error), &typeid(std::_Nested_exception<Error>)};
}

const Row errors[] = {
    row<ExportProfileUuidNotFound>("ExportProfileUuidNotFound", {u""}, [](auto& m) { m.getProfileByUUID(u""); }),
    row<ExportProfileNameNotFound>("ExportProfileNameNotFound", {u"Twin"},
                                   [](auto& m) { m.getProfileByName(u"Twin"); }),
    row<ExportProfileNameNotUnique>("ExportProfileNameNotUnique", {u"twin"},
                                    [](auto& m) { m.getProfileByName(u"twin"); }),
    row<ExportProfileAlreadyExists>("ExportProfileAlreadyExists", {}, [](auto& m) { m.createProfile(u"twin"); }),
    row<ExportProfilesStartupFailure>("ExportProfilesStartupFailure", {},
                                      [](auto&) { project::sharing::profiles::createManager(nullptr); }),
};

// Raised while another one is handled.
std::exception_ptr raised(const Row& row) {
  const auto metadata = std::make_shared<memory_host::MemoryMetadata>();
  samples::storeTwins(*metadata);
  const auto manager = project::sharing::profiles::createManager(metadata);
  try {
    throw std::range_error("outer");
  } catch (const std::range_error&) {
    try {
      row.raise(*manager);
    } catch (const ProjectException&) {
      return std::current_exception();
    }
  }
  throw std::logic_error("nothing was raised");
}

TEST(Errors, CarryTheirRecordNestTheErrorBeingHandledAndAreThrownAgainWithoutTheirTypeBeingKnown) {
  for (const Row& row : errors) {
    SCOPED_TRACE(row.key);
    const int before = memory_host::errorIdentifiersMade();
    const std::exception_ptr thrown = raised(row);
    EXPECT_EQ(memory_host::errorIdentifiersMade(), before + 1);
    EXPECT_EQ(*thrown.__cxa_exception_type(), *row.nestedType);
    std::unique_ptr<IException> copy;
    try {
      std::rethrow_exception(thrown);
    } catch (const IMsgIDException& error) {
      std::vector<std::u16string> arguments;
      for (const auto& one : error.GetBaseMsgIDObj().arguments) arguments.push_back(std::get<std::u16string>(one));
      EXPECT_EQ(arguments, row.arguments);
      EXPECT_EQ(error.GetID(), std::string("ORCHID:project:sharing:") + row.key);
      EXPECT_EQ(error.GetUnicodeMessageTxt(), u"host: message");
      EXPECT_GT(dynamic_cast<const ProjectException&>(error).stackTrace().size(), 1U);
      EXPECT_THROW(dynamic_cast<const std::nested_exception&>(error).rethrow_nested(), std::range_error);
      copy.reset(error.clone());
    }
    try {
      copy->rethrow();
    } catch (const IException& error) {
      EXPECT_NE(&error, copy.get());
      EXPECT_EQ(*std::current_exception().__cxa_exception_type(), *row.type);
    }
  }
}

}  // namespace
