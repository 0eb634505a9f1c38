#include "CanaryScanner.h"

#include <sys/xattr.h>

#include <cerrno>

#include "folder_host/Fixture.h"

namespace hand_out {

namespace {

namespace fs = std::filesystem;

using Numbers = std::set<int>;

class CanaryScannerTest : public folder_host::FolderTest {
 protected:
  Numbers found() const { return canariesIn(everythingIn(folder_)); }

  bool setAttribute(const std::string& path, const std::string& name, const std::string& value) const {
    return ::lsetxattr(in(path).c_str(), ("user." + name).c_str(), value.data(), value.size(), 0) == 0;
  }
};

}  // namespace

TEST_F(CanaryScannerTest, FindsThemInContentInEveryEncodingAtEveryOffsetToTheLastByte) {
  put("file", "cNry, cNry00012x, cNry0000a7x, cNry0000007x, cNry-00007x, 000007x, cNry000007");
  EXPECT_EQ(found(), Numbers()) << "of what is no canary";
  for (const std::string& mark : encoded(canary(7))) {
    for (const std::size_t offset : {0U, 1U, 2U, 4091U, 65535U}) {
      put("file", std::string(offset, '.') + mark + (offset == 1 ? "cNry" : ""));
      EXPECT_EQ(found(), Numbers{7}) << testing::PrintToString(mark) << " at " << offset;
      EXPECT_TRUE(holds(everythingIn(folder_), canary(7)));
      EXPECT_FALSE(holds(everythingIn(folder_), canary(8)));
    }
  }
}

TEST_F(CanaryScannerTest, FindsThemInNamesLinksAndExtendedAttributes) {
  put("folder/." + canary(1));
  fs::create_directory(in("-" + canary(2) + "\n"));
  fs::create_symlink("folder", in("\xFF" + canary(3)));
  fs::create_symlink("/nowhere/" + canary(4) + "/a", in("dangling"));
  put(".project/other", canary(5));
  Numbers all = {1, 2, 3, 4, 5};
  if (setAttribute("", "value", canary(6)) || errno != ENOTSUP) {  // where the file system takes such
    EXPECT_TRUE(setAttribute("folder", canary(7), ""));
    EXPECT_TRUE(setAttribute(".project/other", "odd", "." + encoded(canary(8))[1]));
    all.insert({6, 7, 8});
  }
  EXPECT_EQ(found(), all);
}

}  // namespace hand_out
