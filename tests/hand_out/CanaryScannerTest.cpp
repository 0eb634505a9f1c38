#include "CanaryScanner.h"

#include <sys/xattr.h>

#include <cerrno>
#include <functional>

#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/Text.h"

namespace hand_out {

namespace {

namespace fs = std::filesystem;

using folder_host::FolderProject;
using folder_host::runSql;
using Numbers = std::set<int>;

// A project with something of every kind in it, and no canary.
class CanaryScannerTest : public folder_host::FolderTest {
 protected:
  CanaryScannerTest() {
    put("p/folder/file", "cNry, cNry00012x, cNry0000a7x, cNry0000007x, cNry-00007x, 000007x, cNry000007");
    fs::create_symlink("folder/file", in("p/link"));
    project_.labels().create(u"category", u"label");
  }

  Numbers found() const { return canariesIn(everythingIn(in("p"))); }

  bool setAttribute(const std::string& path, const std::string& name, const std::string& value) const {
    return ::lsetxattr(in(path).c_str(), ("user." + name).c_str(), value.data(), value.size(), 0) == 0;
  }

  FolderProject project_ = (fs::create_directory(in("p")), FolderProject::init(in("p")));
};

}  // namespace

TEST_F(CanaryScannerTest, AFolderWithoutCanariesHasNone) { EXPECT_EQ(found(), Numbers()); }

TEST_F(CanaryScannerTest, ContentIsSearchedInEveryEncodingAtEveryOffsetToTheLastByte) {
  for (const std::string& mark : encoded(canary(7))) {
    for (const std::size_t offset : {0U, 1U, 2U, 4091U, 65535U}) {
      for (const char* end : {"", ".", "cNry"}) {
        SCOPED_TRACE(testing::PrintToString(mark) + " at " + std::to_string(offset) + " before " + end);
        put("p/folder/file", std::string(offset, '.') + mark + end);
        EXPECT_EQ(found(), Numbers{7});
        EXPECT_TRUE(holds(everythingIn(in("p")), canary(7)));
        EXPECT_FALSE(holds(everythingIn(in("p")), canary(8)));
      }
    }
  }
}

TEST_F(CanaryScannerTest, EveryPlaceIsSearched) {
  const auto sql = [&](const std::string& name, const char* then) {
    runSql(in("p/.project/store.db"), "INSERT INTO category VALUES('uuid', CAST('" + name + "' AS BLOB));" + then);
  };
  const char* remove = "DELETE FROM category WHERE uuid = 'uuid'";
  const struct {
    const char* title;
    std::function<void(const std::string&)> plant;
  } rows[] = {
      {"a file's name", [&](auto& mark) { put("p/folder/." + mark); }},
      {"a folder's name", [&](auto& mark) { fs::create_directory(in("p/-" + mark + "\n")); }},
      {"a link's name", [&](auto& mark) { fs::create_symlink("folder", in("p/\xFF" + mark)); }},
      {"a link's target", [&](auto& mark) { fs::create_symlink("/nowhere/" + mark + "/a", in("p/dangling")); }},
      {"the store's folder", [&](auto& mark) { put("p/.project/other", mark); }},
      {"a label", [&](auto& mark) { project_.labels().create(u"c", folder_host::fromBytes(mark)); }},
      {"a free page", [&](auto& mark) { sql(std::string(20000, '.') + mark, remove); }},
      {"a free block", [&](auto& mark) { sql(mark, remove); }},
      {"a blob", [&](auto& mark) { sql(mark, ""); }},
  };
  int number = 0;
  for (const auto& row : rows) {
    row.plant(canary(++number));
    EXPECT_EQ(found().count(number), 1U) << row.title;
  }
}

TEST_F(CanaryScannerTest, ExtendedAttributesAreSearched) {
  if (!setAttribute("p", "none", "") && errno == ENOTSUP) GTEST_SKIP() << "the file system takes no such attributes";
  EXPECT_TRUE(setAttribute("p", "value", canary(1)));
  EXPECT_TRUE(setAttribute("p/folder", canary(2), ""));
  EXPECT_TRUE(setAttribute("p/folder/file", "odd", "." + encoded(canary(3))[1]));
  EXPECT_EQ(found(), (Numbers{1, 2, 3}));
}

}  // namespace hand_out
