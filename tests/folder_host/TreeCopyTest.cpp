#include "folder_host/share/TreeCopy.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <thread>
#include <utility>

#include "Fixture.h"
#include "folder_host/files/Permissions.h"
#include "folder_host/share/sinks/FolderSink.h"

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

  void copy(const CopyProgress& onProgress = nullptr, const Allowances& allowed = {}) {
    std::vector<const Entry*> entries;
    for (const Entry& entry : listing_.entries) entries.push_back(&entry);
    copyFrom(in("p"), entries, onProgress, allowed);
  }

  void copyFrom(const std::string& root, const std::vector<const Entry*>& entries,
                const CopyProgress& onProgress = nullptr, const Allowances& allowed = {}) {
    fs::remove_all(in("copy"));
    const Descriptor parent = openFolder(in("."));
    Publication publication(parent);
    FolderSink sink(publication);
    copyTree(Source(root, allowed), entries, sink, onProgress);
    sink.finish();
    publication.publish("copy");
  }

  Listing listing_;
  std::size_t alone_ = threads();  // a sanitizer may have one of its own
};

}  // namespace

TEST_F(TreeCopyTest, EverythingArrivesWithItsContentAndIsTold) {
  std::string large;
  for (int i = 0; large.size() < 3000000; ++i) large += std::to_string(i) + '\0';
  put("p/large", large);
  const std::vector<std::string> sparse = {"/tail", "/inside"};  // holes at the end, and before it
  put("p/tail", std::string(300000, 'x')), put("p/inside");
  for (const std::string& name : sparse) fs::resize_file(in("p" + name), 8000001);
  std::ofstream(in("p/inside"), std::ios::in).seekp(8000000) << "x";
  put("p/zeros", std::string(300000, '\0') + "end");
  list();
  const auto caller = std::this_thread::get_id();
  std::size_t entries = 0;
  std::uint64_t bytes = 0, all = 0;
  copy([&](std::size_t entriesNow, std::uint64_t bytesNow) {
    EXPECT_TRUE(std::this_thread::get_id() == caller && entriesNow >= entries && bytesNow >= bytes);
    entries = entriesNow, bytes = bytesNow;
  });
  EXPECT_EQ(entries, listing_.entries.size());
  for (const Entry& entry : listing_.entries) all += entry.size;
  EXPECT_EQ(bytes, all) << "is told in the caller's thread to the end";
  EXPECT_EQ(tree("copy"), tree("p"));
  for (const std::string& path : tree("p")) {
    const fs::path from = in("p/" + path), to = in("copy/" + path);
    ASSERT_EQ(fs::symlink_status(from).type(), fs::symlink_status(to).type()) << path;
    EXPECT_TRUE(fs::is_directory(from) || read(from) == read(to)) << path;
  }
  for (const std::string& name : sparse) {
    struct stat status {};
    ASSERT_EQ(::stat(in("copy" + name).c_str(), &status), 0);
    EXPECT_LT(status.st_blocks * 512, 1000000) << name << ": holes stay holes";
  }
}

TEST_F(TreeCopyTest, AFileWithHolesThatChangesIsNoticed) {
  for (const std::uintmax_t size : {0U, 200000U, 1000000U, 9000000U}) {
    const std::uintmax_t content = 5U << 16U;
    const auto make = [&] { put("p/file", std::string(content, 'x')), fs::resize_file(in("p/file"), 5000000), list(); };
    fs::remove_all(in("p")), make();
    bool isLarge = true;
    const CopyProgress change = [&](std::size_t, std::uint64_t bytes) {
      if (bytes > 0 && std::exchange(isLarge, false)) fs::resize_file(in("p/file"), size);
    };
    EXPECT_EQ(refusalOf([&] { copy(change); }), errors::ENTRY_CHANGED) << size;
    make();
    isLarge = true;
    copy(change, {errors::ENTRY_CHANGED});
    EXPECT_EQ(fs::file_size(in("copy/file")), std::max<std::uintmax_t>(size, content))
        << "what was read, to its new end";
  }
}

TEST(PermissionsTest, WhatAnAccessListWithholdsTheCopyAllowsNobody) {
  const std::string version(("\2\0\0\0"), 4);
  const auto item = [](char tag, char allowed) { return std::string({tag, 0, allowed, 0, 1, 0, 0, 0}); };
  const auto list = [&](char group, const std::string& rest = {}) {
    return version + item(0x01, 7) + rest + item(0x04, group) + item(0x20, 5);
  };
  const char user = 0x02, named = 0x08, mask = 0x10;
  const struct {
    const char* title;
    std::string list;
    mode_t mode, copy;
  } rows[] = {
      {"the owning group's, not the mask", list(0, item(user, 6) + item(mask, 6)), 0660, 0600},
      {"cut by the mask", list(7, item(user, 7) + item(mask, 5)), 0755, 0755},
      {"a named user who may less than others", list(5, item(user, 0) + item(mask, 5)), 0755, 0750},
      {"a named group cut by the mask", list(5, item(named, 7) + item(mask, 4)), 0745, 0744},
      {"a mask alone", list(7, item(mask, 4)), 04745, 0745},
      {"no group", version + item(0x01, 7), 0777, 0700},
      {"another version", std::string("\3\0\0\0", 4) + item(0x04, 7), 0777, 0700},
      {"a part of an entry", list(7) + "x", 0777, 0700},
  };
  for (const auto& row : rows) EXPECT_EQ(permissionsUnder(row.list, row.mode), row.copy) << row.title;
}

TEST_F(TreeCopyTest, ContentWithoutASizeArrives) {
  struct stat status {};
  ASSERT_EQ(::stat("/proc/sys/kernel/ostype", &status), 0);
  ASSERT_EQ(status.st_size, 0);
  const Entry entry{"ostype", EntryKind::file, {}, {status.st_dev, status.st_ino}, 0, status.st_ctim};
  copyFrom("/proc/sys/kernel", {&entry});
  EXPECT_EQ(read(in("copy/ostype")), "Linux\n");
}

TEST_F(TreeCopyTest, WhatProgressThrowsEndsItWithNoThreadLeft) {
  for (const std::size_t when : {0U, 9U, 300U}) {
    const CopyProgress stop = [&](std::size_t entries, std::uint64_t) {
      if (entries >= when) throw std::out_of_range("on purpose");
    };
    EXPECT_THROW(copy(stop), std::out_of_range) << when;
    EXPECT_EQ(threads(), alone_);
  }
}

TEST_F(TreeCopyTest, ASecondThreadHelpsAndTakesNoSignal) {
  static thread_local bool isCaller = false;
  static volatile std::sig_atomic_t elsewhere = 0;
  isCaller = true;
  const auto before = std::signal(SIGUSR1, [](int) { elsewhere = elsewhere + (isCaller ? 0 : 1); });
  std::size_t most = 0;
  const CopyProgress look = [&](std::size_t entries, std::uint64_t) {
    if (entries % 50 == 0 || most <= alone_) most = std::max(most, threads());
    ::kill(::getpid(), SIGUSR1);
  };
  // On a busy machine it may be done before this one looks.
  for (int i = 0; i < 100 && most <= alone_; ++i) copy(look);
  std::signal(SIGUSR1, before);
  EXPECT_EQ(most, alone_ + 1);
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(threads(), alone_);
}

}  // namespace folder_host
