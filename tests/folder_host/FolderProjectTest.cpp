#include "folder_host/FolderProject.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Error.h"

namespace folder_host {

namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

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
  fs::create_directories(in("p/a/b/c"));
  fs::create_directory_symlink("../p/a/b", in("q/link"));
  EXPECT_EQ(FolderProject::open(in("p/a/b/c")).root(), in("p/a"));
  EXPECT_EQ(FolderProject::open(in("q/link/c")).root(), in("p/a"));
  EXPECT_EQ(FolderProject::open(in("p/a/..")).root(), in("p"));
  EXPECT_EQ(opening("q"), errors::NOT_A_PROJECT);
  write(in("p/a/.project/store.db"), "");
  EXPECT_EQ(opening("p/a/b"), errors::STORE_UNREADABLE) << "a damaged project is not passed over for one above";
}

TEST_F(FolderProjectTest, TheStoresPlaceMustBeFreeOrLeftByATryThatWasInterrupted) {
  const std::string deep = "q/" + std::string(200, 'd') + "/" + std::string(200, 'd') + "/" + std::string(200, 'd');
  fs::create_directories(in(deep));
  put("q/1/.project", "somebody's");
  put("q/2/.project/file", "somebody's");
  put("q/5/.project/new-12345678-1234-1234-1234-123456789abc");
  put("q/5/.project/new-ideas", "somebody's");
  fs::create_directories(in("q/3")), fs::create_directory_symlink("../2", in("q/3/.project"));
  const Names before = tree("q");
  for (const std::string folder : {"q/1", "q/2", "q/3", "q/5"}) EXPECT_EQ(init(folder), errors::STORE_FAILED) << folder;
  EXPECT_EQ(init(deep), errors::PATH_TOO_LONG);
  EXPECT_EQ(tree("q"), before);
  EXPECT_EQ(read(in("q/1/.project")), "somebody's");
  const std::string unfinished = "q/4/.project/new-12345678-1234-1234-1234-123456789abc";
  put(unfinished, "half a store");
  put(unfinished + "-journal");
  EXPECT_EQ(init("q/4"), "");
  EXPECT_EQ(tree("q/4"), (Names{".project", ".project/store.db"}));
}

TEST_F(FolderProjectTest, PathsAreLocatedInTheProject) {
  const FolderProject project = FolderProject::init(in("p"));
  fs::create_directory_symlink("a", in("p/link"));
  fs::create_directory_symlink("../q", in("p/away"));
  fs::create_directory_symlink("p/a", in("into"));
  put("pp/x");
  for (const std::string row : {"p/a/x = a/x", "p/a/ = a", "p = ", "p/ = ", "p/a/.. = ", "p/. = ", "p//a/./x = a/x",
                                "q/../p/a/x = a/x", "p/link = link", "p/link/ = link", "p/link/x = a/x", "into/x = a/x",
                                "p/away = away", "p/absent/x = absent/x", "p/a/x/y = a/x/y", "p/\xFF = \xFF"}) {
    const std::size_t middle = row.find(" = ");
    EXPECT_EQ(project.locate(in(row.substr(0, middle))), row.substr(middle + 3)) << row;
  }
  for (const std::string& named : {in("p/.project"), in("p/.project/store.db"), in("p/away/x"), in("pp/x"), in("into"),
                                   in("p/.."), std::string("/"), std::string()}) {
    EXPECT_EQ(refusalOf([&] { project.locate(named); }), errors::PATH_OUTSIDE_PROJECT) << named;
  }
}

TEST_F(FolderProjectTest, WhatIsDoneToAWorkingCopyDoesNotReachTheProject) {
  const FolderProject project = FolderProject::init(in("p"));
  const LabelRecord label = project.labels().create(u"c", u"n");
  project.labels().attach(label.uuid, {"a/x"});
  const auto copy = project.workingCopy();
  copy->getLabelManager().removeCategory(project::management::CategoryIdentifier(label.categoryUUID));
  copy->getMetadataManager()->removeNodes({project::metadata::MetadataPath()});
  copy->getFileManager().removeFiles(copy->getFileManager().getFiles());
  EXPECT_TRUE(copy->entries().empty());
  EXPECT_EQ(project.labels().labelsOf("a/x").size(), 1U);
  EXPECT_EQ(tree("p"), (Names{".project", ".project/store.db", "a", "a/x"}));
}

}  // namespace folder_host
