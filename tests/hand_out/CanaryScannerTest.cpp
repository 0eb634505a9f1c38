#include "CanaryScanner.h"

#include <sys/xattr.h>

#include <cerrno>

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

TEST_F(CanaryScannerTest, ContentIsSearchedInEveryEncodingAtEveryOffsetToTheLastByte) {
  EXPECT_EQ(found(), Numbers()) << "of what is no canary";
  for (const std::string& mark : encoded(canary(7))) {
    for (const std::size_t offset : {0U, 1U, 2U, 4091U, 65535U}) {
      put("p/folder/file", std::string(offset, '.') + mark + (offset == 1 ? "cNry" : ""));
      EXPECT_EQ(found(), Numbers{7}) << testing::PrintToString(mark) << " at " << offset;
      EXPECT_TRUE(holds(everythingIn(in("p")), canary(7)));
      EXPECT_FALSE(holds(everythingIn(in("p")), canary(8)));
    }
  }
}

TEST_F(CanaryScannerTest, EveryPlaceIsSearched) {
  put("p/folder/." + canary(1));
  fs::create_directory(in("p/-" + canary(2) + "\n"));
  fs::create_symlink("folder", in("p/\xFF" + canary(3)));
  fs::create_symlink("/nowhere/" + canary(4) + "/a", in("p/dangling"));
  put("p/.project/other", canary(5));
  project_.labels().create(u"c", folder_host::fromBytes(canary(6)));
  for (const auto& text : {std::string(20000, '.') + canary(7), canary(8)}) {  // a free page, a free block
    runSql(in("p/.project/store.db"), "INSERT INTO category VALUES('uuid', CAST('" + text +
                                          "' AS BLOB)); DELETE FROM category WHERE uuid = 'uuid'");
  }
  EXPECT_EQ(found(), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(CanaryScannerTest, ExtendedAttributesAreSearched) {
  if (!setAttribute("p", "none", "") && errno == ENOTSUP) GTEST_SKIP() << "the file system takes no such attributes";
  EXPECT_TRUE(setAttribute("p", "value", canary(1)));
  EXPECT_TRUE(setAttribute("p/folder", canary(2), ""));
  EXPECT_TRUE(setAttribute("p/folder/file", "odd", "." + encoded(canary(3))[1]));
  EXPECT_EQ(found(), (Numbers{1, 2, 3}));
}

}  // namespace hand_out
