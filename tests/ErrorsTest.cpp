#include "project/sharing/profiles/ExportProfileErrors.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <typeinfo>

#include "Samples.h"

namespace {

using namespace ORCHID::project::sharing;
using foundation::core::except::IException;
using foundation::core::except::IMsgIDException;
using project::exception::ProjectException;
using project::sharing::profiles::createManager;

struct Row {
  const char* key;
  std::vector<std::u16string> arguments;
  std::function<void()> raise;
  const std::type_info* type;
  const std::type_info* nestedType;
  bool (*isCaughtAsItself)(const std::exception_ptr&);
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.key; }

template <class X>
Row row(const char* key, std::vector<std::u16string> arguments, std::function<void()> raise) {
  using Error = foundation::core::except::Exception<X, ProjectException>;
  const auto isCaught = [](const std::exception_ptr& error) {
    try {
      std::rethrow_exception(error);
    } catch (const Error& caught) {
      return caught.GetBaseMsgIDObj().component == "ORCHID:project:sharing";
    } catch (...) {
      return false;
    }
  };
  return {key,     std::move(arguments), std::move(raise), &typeid(Error), &typeid(std::_Nested_exception<Error>),
          isCaught};
}

auto managerOfTwins() {
  const auto metadata = std::make_shared<memory_host::MemoryMetadata>();
  for (const auto* uuid : {u"1", u"2"}) {
    samples::store(*metadata, {{u"Export", u"Root"}, {u"ExportProfile", uuid}}, u"Name", u"twin");
  }
  return createManager(metadata);
}

const Row rows[] = {
    row<ExportProfileUuidNotFound>("ExportProfileUuidNotFound", {u""}, [] { managerOfTwins()->getProfileByUUID(u""); }),
    row<ExportProfileNameNotFound>("ExportProfileNameNotFound", {u"Twin"},
                                   [] { managerOfTwins()->getProfileByName(u"Twin"); }),
    row<ExportProfileNameNotUnique>("ExportProfileNameNotUnique", {u"twin"},
                                    [] { managerOfTwins()->getProfileByName(u"twin"); }),
    row<ExportProfileAlreadyExists>("ExportProfileAlreadyExists", {}, [] { managerOfTwins()->createProfile(u"twin"); }),
    row<ExportProfilesStartupFailure>("ExportProfilesStartupFailure", {}, [] { createManager(nullptr); }),
};

std::exception_ptr raised(const Row& row) {
  try {
    row.raise();
  } catch (const ProjectException&) {
    return std::current_exception();
  }
  throw std::logic_error("nothing was raised");
}

std::exception_ptr raisedInAHandler(const Row& row) {
  try {
    throw std::range_error("outer");
  } catch (const std::range_error&) {
    return raised(row);
  }
}

class Errors : public testing::TestWithParam<Row> {};

TEST_P(Errors, CarryTheirRecordAndTheirIdentifierMadeOnce) {
  const int before = memory_host::errorIdentifiersMade();
  EXPECT_TRUE(GetParam().isCaughtAsItself(raised(GetParam())));
  EXPECT_EQ(memory_host::errorIdentifiersMade(), before + 1);
  try {
    std::rethrow_exception(raised(GetParam()));
  } catch (const IMsgIDException& error) {
    EXPECT_EQ(error.GetBaseMsgIDObj().key, GetParam().key);
    std::vector<std::u16string> arguments;
    for (const auto& one : error.GetBaseMsgIDObj().arguments) arguments.push_back(std::get<std::u16string>(one));
    EXPECT_EQ(arguments, GetParam().arguments);
    EXPECT_EQ(error.GetID(), std::string("ORCHID:project:sharing:") + GetParam().key);
    EXPECT_EQ(error.GetUnicodeMessageTxt(), u"host: message");
    const auto& base = dynamic_cast<const ProjectException&>(error);
    EXPECT_STREQ(base.what(), "host: what");
    EXPECT_TRUE(base.message().empty());
    EXPECT_GT(base.stackTrace().size(), 1U);
  }
}

TEST_P(Errors, NestTheErrorBeingHandledAndOnlyThat) {
  EXPECT_EQ(*raised(GetParam()).__cxa_exception_type(), *GetParam().type);
  const std::exception_ptr nested = raisedInAHandler(GetParam());
  EXPECT_EQ(*nested.__cxa_exception_type(), *GetParam().nestedType);
  EXPECT_TRUE(GetParam().isCaughtAsItself(nested));
  try {
    std::rethrow_exception(nested);
  } catch (const std::nested_exception& error) {
    EXPECT_THROW(error.rethrow_nested(), std::range_error);
  }
}

TEST_P(Errors, AreCopiedAndThrownAgainWithoutTheirTypeBeingKnown) {
  std::unique_ptr<IException> copy;
  try {
    std::rethrow_exception(raisedInAHandler(GetParam()));
  } catch (const IException& error) {
    copy.reset(error.clone());
  }
  try {
    copy->rethrow();
  } catch (const IException& error) {
    EXPECT_NE(&error, copy.get());
    EXPECT_EQ(*std::current_exception().__cxa_exception_type(), *GetParam().type);
  }
}

INSTANTIATE_TEST_SUITE_P(All, Errors, testing::ValuesIn(rows),
                         [](const testing::TestParamInfo<Row>& one) { return std::string(one.param.key); });

}  // namespace
