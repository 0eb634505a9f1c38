#include <gtest/gtest.h>

#include <set>
#include <string>

#include "fl/filesystem/path.h"
#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

namespace {

using fl::filesystem::detail::extract_parent_path;
using resource_core::BaseMsgID;
using ProjectError = foundation::core::except::Exception<BaseMsgID, project::exception::ProjectException>;

ProjectError errorOf(const std::string& key, const std::string& component = "ORCHID:project:sharing") {
  return {project::exception::ProjectException(), {{std::u16string(u"\u00E9t\u00E9"), 7L, "text"}, component, key}};
}

}  // namespace

TEST(HostFunctions, ParentsEndAtTheTopFolder) {
  const struct {
    std::u16string path, parent;
  } rows[] = {{u"/a/b", u"/a"}, {u"/a", u"/"}, {u"/", u""}, {u"", u""}, {u"a", u""}, {u"a/b", u"a"}, {u"/a/b/", u"/a"}};
  for (const auto& row : rows)
    EXPECT_EQ(extract_parent_path(row.path), row.parent) << ::testing::PrintToString(row.path);
}

TEST(HostFunctions, EveryKnownMessageHasTextsOfItsOwnWithItsArgument) {
  std::set<std::string> summaries = {errorOf("Unknown").what()};
  for (const std::string key : {"ExportProfileUuidNotFound", "ExportProfileNameNotUnique", "ExportProfileNameNotFound",
                                "ExportProfilesStartupFailure", "ExportProfileAlreadyExists"}) {
    EXPECT_TRUE(summaries.insert(errorOf(key).what()).second) << key;
    EXPECT_EQ(errorOf(key).GetID(), "ORCHID:project:sharing:" + key);
    const bool showsIt = errorOf(key).GetUnicodeMessageTxt().find(u"\u00E9t\u00E9") != std::u16string::npos;
    EXPECT_EQ(showsIt, key.find("Not") != std::string::npos) << key;
  }
}

}  // namespace folder_host
