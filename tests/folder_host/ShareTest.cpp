#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/share/HandOut.h"

namespace folder_host {

namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;
using project::management::ProjectManager;

struct stat statusOfLink(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) throw std::runtime_error("there is no " + path);
  return status;
}

void setTimes(const std::string& path, long seconds) {
  const timespec times[2] = {{seconds, 123456789}, {seconds + 1, 987654321}};
  if (::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) throw std::runtime_error(path);
}

class ShareTest : public FolderTest {
 protected:
  ShareTest() {
    put("p/a/x", "x");
    put("p/a/y", "yy");
    put("p/b", "bbb");
    fs::create_directory(in("out"));
  }

  HandedOut shareAs(const std::string& destination, const Transformation::Change& change = nullptr,
                    const HandOutOptions& options = {}) const {
    return share(project_.workingCopy(), Transformation(change), destination, options);
  }

  // Of a share to a place that is free.
  std::string refusal(const Transformation::Change& change = nullptr, const HandOutOptions& options = {}) const {
    return refusalOf([&] { shareAs(in("out/copy"), change, options); });
  }

  FolderProject project_ = (fs::create_directory(in("p")), FolderProject::init(in("p")));
};

}  // namespace

TEST_F(ShareTest, ModesAndTimesAreKeptAndSetIdBitsNot) {
  fs::create_symlink("b", in("p/l"));
  ASSERT_EQ(::chmod(in("p/b").c_str(), 06751), 0);
  ASSERT_EQ(::chmod(in("p/a/x").c_str(), 0400), 0);
  ASSERT_EQ(::chmod(in("p/a").c_str(), 03555), 0);
  ASSERT_EQ(::chmod(in("p").c_str(), 0750), 0);
  const Names paths = {"", "/a", "/a/x", "/b", "/l"};
  for (std::size_t i = paths.size(); i > 0; --i) setTimes(in("p") + paths[i - 1], 1000000000 + static_cast<long>(i));
  shareAs(in("out/copy"));
  for (std::size_t i = 0; i < paths.size(); ++i) {
    SCOPED_TRACE(paths[i]);
    const struct stat source = statusOfLink(in("p") + paths[i]);
    const struct stat copy = statusOfLink(in("out/copy") + paths[i]);
    EXPECT_EQ(copy.st_mode & 07777U, source.st_mode & 0777U);
    EXPECT_EQ(copy.st_mtim.tv_sec, 1000000002 + static_cast<long>(i));
    EXPECT_EQ(copy.st_mtim.tv_nsec, 987654321);
    // Reading a folder or a link may give it a new time of access before the share begins.
    EXPECT_TRUE(!S_ISREG(source.st_mode) || copy.st_atim.tv_nsec == 123456789);
  }
  EXPECT_EQ(statusOfLink(in("out/copy/.project")).st_mode & 07777U, 0750U) << "who can read the copy can open it";
  EXPECT_EQ(statusOfLink(in("out/copy/.project/store.db")).st_mode & 07777U, 0640U);
}

TEST_F(ShareTest, AnEntryThatIsNotWhatItWasStopsTheShareAndLeavesNothing) {
  put("outside/x", "must not leave");
  fs::create_symlink("b", in("p/l"));
  HandOutOptions allowing;
  allowing.allowed = {errors::ENTRY_CHANGED};
  const auto replace = [&](const std::string& path, const std::function<void(const std::string&)>& make) {
    return [this, path, make](ProjectManager&) { fs::remove_all(in(path)), make(in(path)); };
  };
  const std::pair<const char*, Transformation::Change> rows[] = {
      {"gone", replace("p/b", [](auto&) {})},
      {"a pipe", replace("p/b", [](auto& path) { ::mkfifo(path.c_str(), 0600); })},
      {"a link", replace("p/b", [&](auto& path) { fs::create_symlink(in("outside/x"), path); })},
      {"a folder", replace("p/b", [](auto& path) { fs::create_directory(path); })},
      {"its folder a link", replace("p/a", [](auto& path) { fs::create_symlink("../outside", path); })},
      {"another link", replace("p/l", [](auto& path) { fs::create_symlink("../outside/x", path); })},
      {"no link", replace("p/l", [](auto& path) { write(path, "file"); })},
      {"another file", replace("p/b", [&](auto& path) { fs::rename(in("p/a/y"), path); })},
      {"another's folder", replace("p/a", [&](auto& path) { fs::rename(in("secret"), path); })},
      {"the project's folder",
       [&](ProjectManager&) {
         fs::rename(in("p"), in("old")), fs::create_directory(in("p"));
         for (const char* name : {"/a", "/b", "/l"}) fs::rename(in("old") + name, in("p") + name);
       }},
      {"the store", replace("p/b", [&](auto& path) { fs::create_hard_link(in("p/.project/store.db"), path); })},
  };
  for (const auto& [title, change] : rows) {
    SCOPED_TRACE(title);
    put("secret/x");
    EXPECT_EQ(refusal(change, allowing), errors::ENTRY_CHANGED) << "nor may it be allowed";
    EXPECT_EQ(tree("out"), Names());
    if (fs::exists(in("old"))) fs::remove_all(in("p")), fs::rename(in("old"), in("p"));
    for (const char* name : {"p/a", "p/b", "p/l"}) fs::remove_all(in(name));
    put("p/a/x"), put("p/a/y"), put("p/b"), fs::create_symlink("b", in("p/l"));
  }
  EXPECT_EQ(refusal(), "") << "the project is as it was";
  fs::remove_all(in("out/copy"));
  fs::create_hard_link(in("p/.project/store.db"), in("p/c"));
  EXPECT_EQ(refusal(), errors::ENTRY_UNREADABLE) << "no entry is ever the store";
}

TEST_F(ShareTest, AFileThatChangesWhileItIsCopiedStopsTheShareUnlessAllowed) {
  HandOutOptions options;
  options.onProgress = [&](const Progress& progress) {
    EXPECT_EQ(progress.allEntries, 4U);
    EXPECT_EQ(progress.allBytes, 6U);
    if (progress.bytes == 1 && progress.entries == 1) put("p/a/x", "xyz");
  };
  EXPECT_EQ(refusal(nullptr, options), errors::ENTRY_CHANGED);
  EXPECT_EQ(tree("out"), Names());
  put("p/a/x", "x");
  fs::create_symlink("a/y", in("p/l"));
  // Of the same size and, for the link, with the same target: the time of the change tells.
  const auto change = [&](ProjectManager&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    put("p/a/y", "YY"), setTimes(in("p/l"), 1000000000);
  };
  EXPECT_EQ(refusal(change), errors::ENTRY_CHANGED);
  options.onProgress = [&](const Progress& progress) {
    if (progress.bytes == 1 && progress.entries == 1) put("p/a/x", "xyz");
  };
  options.allowed = {errors::ENTRY_CHANGED};
  EXPECT_EQ(shareAs(in("out/copy"), change, options).changed, (Names{"a/x", "a/y", "l"}));
  EXPECT_EQ(read(in("out/copy/a/x")), "xyz") << "read on to its new end";
  fs::remove_all(in("out/copy"));
  const auto receipt = [&](ProjectManager&) { put("p/b", "{\"receipt\": 1"); };
  EXPECT_EQ(refusal(receipt, options), errors::NESTED_PROJECT) << "to change is allowed, and not to become that";
}

TEST_F(ShareTest, WhatAKilledShareLeftIsRemovedAndNothingElse) {
  const std::string ours = ".project-share-12345678-1234-1234-1234-123456789abc";
  const auto left = [&](const std::string& name, const std::string& lock) {
    put("out/" + name + "/sub/file");
    fs::create_symlink("../../p", in("out/" + name + "/link"));
    put("out/" + name + ".lock", lock.empty() ? lockTextOf(in("out"), name) : lock);
    if (lock.empty()) fs::permissions(in("out/" + name), fs::perms::none);
    EXPECT_EQ(refusal(), "");
    const bool isLeft = fs::exists(in("out/" + name + "/sub/file"));
    fs::remove_all(in("out")), fs::create_directory(in("out"));
    return isLeft;
  };
  EXPECT_FALSE(left(ours, ""));
  fs::create_directory(in("out/" + ours));
  const std::string other = lockTextOf(in("out"), ours);
  fs::rename(in("out/" + ours), in("old"));
  EXPECT_TRUE(left(ours, other)) << "what has its name by now is somebody's own";
  for (const std::string text : {"mine", "Something", "Something is being put together in "}) {
    EXPECT_TRUE(left(ours, std::string(text).append(text.back() == ' ' ? ours + "\n" : ""))) << "the whole text tells";
  }
  EXPECT_TRUE(left(".project-share-mine", ""));
  EXPECT_EQ(tree("p").size(), 6U) << "links are not followed";
  put("out/" + ours + ".lock", "Something");
  EXPECT_EQ(refusal(), "");
  EXPECT_FALSE(fs::exists(in("out/" + ours + ".lock"))) << "killed as it began";
}

TEST_F(ShareTest, AnEmptyFolderThatIsMadeMeanwhileIsNotReplaced) {
  EXPECT_EQ(refusal([&](ProjectManager&) { fs::create_directory(in("out/copy")); }), errors::DESTINATION_EXISTS);
  EXPECT_EQ(tree("out"), Names{"copy"});
}

}  // namespace folder_host
