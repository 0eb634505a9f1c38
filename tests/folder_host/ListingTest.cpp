#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Entry.h"
#include "folder_host/Error.h"

namespace folder_host {

namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

class ListingTest : public FolderTest {
 protected:
  // As listingOf takes them.
  Names names() const {
    Names names;
    for (const Entry& entry : listFolder(folder_).entries) {
      const std::string end = entry.kind == EntryKind::folder ? "/" : entry.kind == EntryKind::link ? ">" : "";
      names.push_back(entry.path + end + entry.target);
    }
    return names;
  }
};

}  // namespace

TEST_F(ListingTest, EntriesAreSortedByBytesLinksNotFollowedAndPipesSkipped) {
  put("a/x");
  put("a-b");
  put("a.txt");
  put("A");
  put("\xFF\x80 not UTF-8\n");
  fs::create_directory(in("empty"));
  fs::create_directory_symlink("a", in("link"));
  fs::create_symlink("nowhere/\xFF", in("z"));
  fs::create_directory_symlink(".", in("a/loop"));
  ASSERT_EQ(::mkfifo(in("a/pipe").c_str(), 0600), 0);
  EXPECT_EQ(listFolder(folder_).skipped, Names{"a/pipe"});
  EXPECT_EQ(names(), (Names{"A", "a/", "a-b", "a.txt", "a/loop>.", "a/x", "empty/", "link>a", "z>nowhere/\xFF",
                            "\xFF\x80 not UTF-8\n"}));
}

TEST_F(ListingTest, TheFoldersOwnStoreIsNoEntryAndOneFurtherDownIs) {
  put(".project/store.db");
  put("b/.project/store.db");
  put("a/c/.project/x");
  put("file/.project");
  fs::create_directory(in("link"));
  fs::create_symlink("../b/.project", in("link/.project"));
  EXPECT_EQ(names(), (Names{"a/", "a/c/", "a/c/.project/", "a/c/.project/x", "b/", "b/.project/", "b/.project/store.db",
                            "file/", "file/.project", "link/", "link/.project>../b/.project"}));
}

}  // namespace folder_host
