#include "folder_host/TreeCopy.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include "Fixture.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

std::size_t threads() {
  std::size_t count = 0;
  for (const auto& thread : fs::directory_iterator("/proc/self/task")) count += thread.exists() ? 1U : 0U;
  return count;
}

// More than one thread copies alone: eight folders of seventy files, a link in each.
class TreeCopyTest : public FolderTest {
 protected:
  TreeCopyTest() {
    for (int i = 0; i < 560; ++i) put(nameOf(i), "content " + std::to_string(i));
    for (int i = 0; i < 8; ++i) fs::create_symlink("file00", in("p/folder" + std::to_string(i) + "/link"));
    list();
  }

  void list() { listing_ = listFolder(in("p")); }

  static std::string nameOf(int i) {
    return "p/folder" + std::to_string(i / 70) + "/file" + std::to_string(i % 70 / 10) + std::to_string(i % 10);
  }

  void copy(TreeCopy::Options options = {}) {
    fs::remove_all(in("copy"));
    fs::create_directory(in("copy"));
    const Descriptor target = openFolder(in("copy"));
    std::vector<const Entry*> entries;
    for (const Entry& entry : listing_.entries) entries.push_back(&entry);
    TreeCopy tree(in("p"), target, std::move(options));
    tree.copy(entries);
    tree.finishFolders();
  }

  Listing listing_;
  std::size_t alone_ = threads();  // a sanitizer may have one of its own
};

}  // namespace

TEST_F(TreeCopyTest, EverythingArrivesWithItsContent) {
  std::string large;
  for (int i = 0; large.size() < 3000000; ++i) large += std::to_string(i) + '\0';
  put("p/large", large);
  put("p/sparse", "");
  fs::resize_file(in("p/sparse"), 5000000);
  put("p/zeros", std::string(300000, '\0') + "end");
  list();
  copy();
  EXPECT_EQ(tree("copy"), tree("p"));
  for (const std::string& path : tree("p")) {
    const fs::path from = in("p/" + path);
    const fs::path to = in("copy/" + path);
    ASSERT_EQ(fs::symlink_status(from).type(), fs::symlink_status(to).type()) << path;
    if (fs::is_symlink(from)) continue;
    if (fs::is_directory(from)) continue;
    EXPECT_EQ(read(from), read(to)) << path;
  }
}

TEST_F(TreeCopyTest, ContentWithoutASizeArrives) {
  struct stat status {};
  ASSERT_EQ(::stat("/proc/sys/kernel/ostype", &status), 0);
  ASSERT_EQ(status.st_size, 0);
  const Entry entry{"ostype", EntryKind::file, {}, {status.st_dev, status.st_ino}};
  fs::create_directory(in("copy"));
  TreeCopy("/proc/sys/kernel", openFolder(in("copy")), {}).copy({&entry});
  EXPECT_EQ(read(in("copy/ostype")), "Linux\n");
}

TEST_F(TreeCopyTest, ProgressIsToldInTheCallersThreadAndEndsWithAllOfIt) {
  const auto caller = std::this_thread::get_id();
  std::size_t entries = 0;
  std::uint64_t bytes = 0, all = 0;
  bool grows = true;
  TreeCopy::Options options;
  options.onProgress = [&](std::size_t entriesNow, std::uint64_t bytesNow) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    grows = grows && entriesNow >= entries && bytesNow >= bytes;
    entries = entriesNow;
    bytes = bytesNow;
  };
  copy(options);
  EXPECT_TRUE(grows);
  EXPECT_EQ(entries, listing_.entries.size());
  for (const Entry& entry : listing_.entries) all += entry.size;
  EXPECT_EQ(bytes, all);
}

TEST_F(TreeCopyTest, WhatProgressThrowsEndsItWithNoThreadLeft) {
  for (const std::size_t when : {0U, 9U, 300U}) {
    TreeCopy::Options options;
    options.onProgress = [&](std::size_t entries, std::uint64_t) {
      if (entries >= when) throw std::out_of_range("on purpose");
    };
    EXPECT_THROW(copy(options), std::out_of_range) << when;
    EXPECT_EQ(threads(), alone_);
    const std::size_t size = tree("copy").size();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(tree("copy").size(), size) << "no thread goes on";
  }
}

TEST_F(TreeCopyTest, ASecondThreadHelpsAndTakesNoSignal) {
  static thread_local bool isCaller = false;
  static volatile std::sig_atomic_t elsewhere = 0;
  isCaller = true;
  const auto before = std::signal(SIGUSR1, [](int) { elsewhere = elsewhere + (isCaller ? 0 : 1); });
  std::size_t most = 0;
  TreeCopy::Options options;
  options.onProgress = [&](std::size_t entries, std::uint64_t) {
    if (entries % 50 == 0 || most <= alone_) most = std::max(most, threads());
    ::kill(::getpid(), SIGUSR1);
  };
  // On a busy machine it may be done before this one looks.
  for (int i = 0; i < 20 && most <= alone_; ++i) copy(options);
  std::signal(SIGUSR1, before);
  EXPECT_EQ(most, alone_ + 1);
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(threads(), alone_);
}

}  // namespace folder_host
