#include "folder_host/FolderProject.h"

#include <sys/stat.h>

#include "Fixture.h"

namespace folder_host {

namespace {

namespace fs = std::filesystem;

class FolderProjectTest : public FolderTest {
 protected:
  FolderProjectTest() {
    put("p/a/x");
    fs::create_directory(in("q"));
  }

  std::string init(const std::string& folder) const {
    return refusalOf([&] { FolderProject::init(in(folder)); });
  }
  std::string opening(const std::string& folder) const {
    return refusalOf([&] { FolderProject::open(in(folder)); });
  }
};

}  // namespace

TEST_F(FolderProjectTest, TheNearestProjectIsOpened) {
  ASSERT_EQ(init("p/a"), "");
  ASSERT_EQ(init("p"), "");
  EXPECT_EQ(fs::status(in("p/.project")).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(in("p/.project/store.db")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_directories(in("p/a/b/c"));
  fs::create_directory_symlink("../p/a/b", in("q/link"));
  EXPECT_EQ(FolderProject::open(in("p/a/b/c")).root(), in("p/a"));
  EXPECT_EQ(FolderProject::open(in("q/link/c")).root(), in("p/a"));
  EXPECT_EQ(FolderProject::open(in("p/a/..")).root(), in("p"));
  EXPECT_EQ(opening("q"), errors::NOT_A_PROJECT);
  write(in("p/a/.project/store.db"), "");
  EXPECT_EQ(opening("p/a/b"), errors::STORE_UNREADABLE) << "a damaged project is not passed over for one above";
}

TEST_F(FolderProjectTest, AStrangersIsOpenedWhereItIsTrusted) {
  constexpr uid_t stranger = 65533;
  ASSERT_EQ(init("p"), "");
  if (::chown(in("p/.project").c_str(), stranger, 0) != 0) {
    // Only root can give it to somebody. Where no user but this one is mapped, the root folder is a stranger's.
    struct stat top {};
    if (::stat("/", &top) != 0 || top.st_uid == 0) GTEST_SKIP() << "nothing here is a stranger's";
    const Descriptor folder = openFolder("/");
    EXPECT_EQ(strangersOwning(in("p"), &folder), std::vector<uid_t>{top.st_uid});
    return;
  }
  EXPECT_EQ(refusalOf([&] { FolderProject::open(in("p")); }), errors::STORE_UNTRUSTED);
  const auto trust = [&](const std::string& root, uid_t owner) { return root == in("p") && owner == stranger; };
  EXPECT_EQ(refusalOf([&] { FolderProject::open(in("p"), trust); }), "");
}

TEST_F(FolderProjectTest, TheStoresPlaceMustBeFree) {
  const std::string deep = "q/" + std::string(200, 'd') + "/" + std::string(200, 'd') + "/" + std::string(200, 'd');
  fs::create_directories(in(deep));
  put("q/1/.project", "somebody's");
  put("q/2/.project/file", "somebody's");
  fs::create_directories(in("q/3")), fs::create_directory_symlink("../4", in("q/3/.project"));
  fs::create_directories(in("q/4/.project"));
  const std::vector<std::string> before = tree("q");
  for (const std::string folder : {"q/1", "q/2", "q/3"}) EXPECT_EQ(init(folder), errors::STORE_FAILED) << folder;
  EXPECT_EQ(init(deep), errors::PATH_TOO_LONG);
  EXPECT_EQ(tree("q"), before);
  EXPECT_EQ(read(in("q/1/.project")), "somebody's");
  EXPECT_EQ(init("q/4"), "");
}

}  // namespace folder_host
