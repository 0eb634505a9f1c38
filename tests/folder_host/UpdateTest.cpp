#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include "Fixture.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/CopyNotes.h"
#include "folder_host/share/Strip.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

std::uint64_t inodeOf(const std::string& file) { return stateIn(Descriptor(AT_FDCWD), file).stamp.inode; }

void keepTimes(const std::string& file, const std::function<void()>& act) {
  const timespec modified = stateIn(Descriptor(AT_FDCWD), file).stamp.modified;
  act();
  const timespec times[] = {modified, modified};
  check(::utimensat(AT_FDCWD, file.c_str(), times, AT_SYMLINK_NOFOLLOW));
}

// An access list, as the system has it, by which somebody else may read: all who are not named may, too.
void giveAccess(const std::string& file) {
  const std::uint32_t nobody = UINT32_MAX;
  const struct {
    std::uint16_t who, what;
    std::uint32_t id;
  } entries[] = {{1, 6, nobody}, {2, 4, 12345}, {4, 4, nobody}, {16, 4, nobody}, {32, 4, nobody}};
  std::string bytes("\2\0\0\0", 4);
  bytes.append(reinterpret_cast<const char*>(entries), sizeof entries);
  check(::chmod(file.c_str(), 0644));
  check(::setxattr(file.c_str(), "system.posix_acl_access", bytes.data(), bytes.size(), 0));
}

// A project of two files that was shared once, long enough ago for its files to be noted.
class UpdateTest : public FolderTest {
 protected:
  UpdateTest() { begin(); }

  void begin() {
    for (const char* folder : {"p", "out"}) fs::remove_all(in(folder));
    fs::create_directory(in("out"));
    put("p/a/x", "first"), put("p/b", "other");
    fs::create_symlink("a/x", in("p/l"));
    FolderProject::init(in("p"));
    ::usleep(20000);
    const FolderProject project = FolderProject::open(in("p"));
    HandOutOptions options;
    options.storeFolder = &project.storeFolder();
    share(project.workingCopy(), Transformation(), in("out/copy"), options);
  }

  HandedOut update(HandOutOptions options = {}, const std::function<void()>& meanwhile = nullptr) {
    const FolderProject project = FolderProject::open(in("p"));
    const auto copy = project.workingCopy();
    strip(copy, Transformation());
    const EarlierCopy earlier = earlierCopyAt(*copy, in("out/copy"));
    options.storeFolder = &project.storeFolder();
    options.earlier = &earlier;
    options.beforePublication = [&](CopyContent*, const HandedOut&) {
      if (meanwhile) meanwhile();
    };
    return handOut(*copy, earlier.place, options);
  }

  void expectOnly(const Names& beside) const {
    Names names;
    for (const auto& item : fs::directory_iterator(in("out"))) names.push_back(item.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, beside);
  }
};

}  // namespace

TEST_F(UpdateTest, AFileIsTakenOverOnlyWhereNothingWouldDiffer) {
  const std::string source = in("p/a/x"), copy = in("out/copy/a/x");
  Descriptor held;
  struct Row {
    const char* title;
    std::function<void()> act;
    bool quick, byContent;
  };
  const Row rows[] = {
      {"nothing happened", [] {}, true, true},
      {"another content", [&] { write(source, "longer than first"); }, false, false},
      {"another content of the same size and time", [&] { keepTimes(source, [&] { write(source, "FIRST"); }); }, false,
       false},
      {"the same content written once more", [&] { keepTimes(source, [&] { write(source, "first"); }); }, false, true},
      {"another mode", [&] { ::chmod(source.c_str(), 0600); }, false, false},
      {"another mode of the copy", [&] { ::chmod(copy.c_str(), 0666); }, false, false},
      {"another content of the copy", [&] { keepTimes(copy, [&] { write(copy, "FIRST"); }); }, false, false},
      {"a second name of the copy", [&] { fs::create_hard_link(copy, in("out/alias")); }, false, false},
      {"an access list that the mode does not show", [&] { giveAccess(copy); }, false, false},
      {"an attribute", [&] { check(::setxattr(copy.c_str(), "user.a", "b", 1, 0)); }, false, false},
      {"an open file", [&] { held = Descriptor(check(::open(copy.c_str(), O_WRONLY | O_CLOEXEC))); }, false, false},
      {"no notes", [&] { fs::remove_all(in("p/.project/copies")); }, false, true},
      {"damaged notes",
       [&] {
         for (const auto& notes : fs::directory_iterator(in("p/.project/copies"))) fs::resize_file(notes.path(), 200);
       },
       false, true},
  };
  for (const Row& row : rows) {
    for (const bool byContent : {false, true}) {
      SCOPED_TRACE(std::string(row.title) + (byContent ? ", by content" : ""));
      begin();
      row.act();
      put("p/new", "so that a new copy is made");
      const auto before = inodeOf(copy);
      const mode_t mode = stateIn(Descriptor(AT_FDCWD), copy).mode;
      const Descriptor earlier(check(::open(copy.c_str(), O_RDONLY | O_CLOEXEC)));
      const std::string content = read(copy);
      HandOutOptions options;
      options.comparesContent = byContent;
      update(options);
      EXPECT_EQ(inodeOf(copy) == before, byContent ? row.byContent : row.quick);
      EXPECT_EQ(read(copy), read(source));
      EXPECT_EQ(stateIn(Descriptor(AT_FDCWD), copy).mode, stateIn(Descriptor(AT_FDCWD), source).mode);
      EXPECT_EQ(stateIn(earlier, "").mode, mode) << "nothing is changed in the earlier copy";
      std::string now(content.size(), '\0');
      EXPECT_EQ(::pread(earlier.get(), now.data(), now.size(), 0), static_cast<ssize_t>(content.size()));
      EXPECT_EQ(now, content);
      held = Descriptor();
    }
  }
}

TEST_F(UpdateTest, WhatWasTakenOverIsTakenOverAgain) {
  put("p/c", "new");
  for (const std::size_t taken : {2U, 3U, 3U}) {
    ::usleep(20000);
    EXPECT_EQ(update().takenOver, taken);
    expectOnly({"copy"});
    EXPECT_EQ(stateIn(Descriptor(AT_FDCWD), in("out/copy/b")).links, 1U);
  }
  EXPECT_EQ(tree("out/copy"), (Names{".project", ".project/store.db", "a", "a/x", "b", "c", "l"}));
}

TEST_F(UpdateTest, ACopyThatIsJustWhatANewOneWouldBeStaysInItsPlace) {
  const std::string folder = in("out/copy/a"), store = in("out/copy/.project/store.db");
  const struct {
    const char* title;
    std::function<void()> act;
    bool stays;
  } rows[] = {
      {"nothing happened", [] {}, true},
      {"a folder's mode", [&] { ::chmod(folder.c_str(), 0777); }, false},
      {"a mode in the project", [&] { ::chmod(in("p/a").c_str(), 0700); }, false},
      {"a time in the project", [&] { check(::utimensat(AT_FDCWD, in("p/a").c_str(), nullptr, 0)); }, false},
      {"a folder's attribute", [&] { check(::setxattr(folder.c_str(), "user.a", "b", 1, 0)); }, false},
      {"a byte in the copy's store", [&] { keepTimes(store, [&] { put("out/copy/.project/store.db", "x"); }); }, false},
      {"a file of the copy that is gone", [&] { keepTimes(folder, [&] { fs::remove(folder + "/x"); }); }, false},
      {"one that has come", [&] { keepTimes(in("out/copy"), [&] { put("out/copy/mine"); }); }, false},
      {"a link that leads elsewhere",
       [&] {
         fs::remove(in("out/copy/l"));
         fs::create_symlink("b", in("out/copy/l"));
       },
       false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    begin();
    row.act();
    const auto before = inodeOf(in("out/copy"));
    const HandedOut updated = update();
    EXPECT_EQ(inodeOf(in("out/copy")) == before, row.stays);
    EXPECT_EQ(updated.written.size(), 4U);
    EXPECT_EQ(fs::read_symlink(in("out/copy/l")), "a/x");
    EXPECT_EQ(stateIn(Descriptor(AT_FDCWD), folder).mode, stateIn(Descriptor(AT_FDCWD), in("p/a")).mode);
    EXPECT_EQ(tree("out/copy"), (Names{".project", ".project/store.db", "a", "a/x", "b", "l"}));
  }
}

TEST_F(UpdateTest, WhatSomebodyWroteMeanwhileIsKept) {
  put("p/c", "so that a new copy is made");
  const Descriptor held(check(::open(in("out/copy/a/x").c_str(), O_WRONLY | O_CLOEXEC)));
  const auto write = [&] { check(::pwrite(held.get(), "FIRST", 5, 0)); };
  const HandedOut first = update({}, write);
  EXPECT_TRUE(first.isTakenBack) << "b was taken over, and would be a file of both";
  EXPECT_EQ(read(in("out/copy/a/x")), "FIRST");
  expectOnly({"copy"});
  HandOutOptions keeping;
  keeping.keepsEarlier = true;
  const HandedOut second = update(keeping);
  EXPECT_EQ(second.kept, "copy.old");
  EXPECT_EQ(second.takenOver, 0U);
  EXPECT_EQ(read(in("out/copy/a/x")), "first");
  EXPECT_EQ(read(in("out/copy.old/a/x")), "FIRST");
  fs::remove_all(in("p/.project/copies"));
  EXPECT_EQ(update({}, [&] { put("out/copy/new"); }).kept, "copy.old-2");
  expectOnly({"copy", "copy.old", "copy.old-2"});
}

TEST_F(UpdateTest, ACopyThatIsAnotherOneByNowIsNotReplaced) {
  for (const bool isChanged : {false, true}) {
    begin();
    if (isChanged) put("p/c", "new");
    const auto exchange = [&] { fs::rename(in("out/copy"), in("out/mine")), put("out/copy/mine"); };
    EXPECT_EQ(refusalOf([&] { update({}, exchange); }), errors::DESTINATION_EXISTS);
    EXPECT_EQ(tree("out/copy"), Names{"mine"});
    expectOnly({"copy", "mine"});
  }
}

TEST_F(UpdateTest, WhatAKilledUpdateLeftIsPutRight) {
  const auto lookOf = [&](const char* folder) { return stateOf(openFolder(in(folder))); };
  for (const bool atOnce : {true, false}) {
    for (const bool isWritten : {false, true}) {
      SCOPED_TRACE(std::string(atOnce ? "at once" : "in two steps") + (isWritten ? ", written to" : ""));
      begin();
      const Descriptor parent = openFolder(in("out"));
      const FolderState look = lookOf("out/copy");
      if (const pid_t child = ::fork(); child == 0) {
        Publication publication(parent);
        publication.exchange("copy", {look.at("").device, look.at("").stamp.inode}, digestOf(look), atOnce);
        ::_exit(0);
      } else {
        check(::waitpid(child, nullptr, 0));
      }
      EXPECT_EQ(tree("out/copy"), Names());
      for (const auto& item : fs::directory_iterator(in("out"))) {
        if (isWritten && fs::exists(item.path() / "b")) write(item.path() / "b", "mine");
      }
      EXPECT_EQ(Publication::removeAbandoned(parent), isWritten ? Names{"copy.old"} : Names());
      expectOnly(isWritten ? Names{"copy", "copy.old"} : Names{"copy"});
    }
  }
  begin();
  const Descriptor parent = openFolder(in("out"));
  const FolderState look = lookOf("out/copy");
  const std::string name = ".project-share-12345678-1234-1234-1234-123456789abc";
  fs::create_directory(in("out/" + name));
  put("out/" + name + ".lock", lockTextOf(in("out"), name) + "It takes the place of " +
                                   std::to_string(look.at("").device) + ":" + std::to_string(look.at("").stamp.inode) +
                                   " digest copy\n");
  fs::rename(in("out/copy"), in("out/" + name + ".old"));
  EXPECT_EQ(update().takenOver, 2U) << "killed between the two renames";
  expectOnly({"copy"});
}

TEST_F(UpdateTest, OnlyAFolderThatIsNotInUseIsUpdated) {
  const FolderProject project = FolderProject::open(in("p"));
  const auto refusal = [&](const std::string& named) {
    return refusalOf([&] { earlierCopyAt(*project.workingCopy(), named); });
  };
  fs::create_symlink("copy", in("out/link")), put("out/file");
  for (const char* name : {"out/none", "out/link", "out/file", "none/at/all"}) {
    EXPECT_EQ(refusal(in(name)), errors::DESTINATION_UNUSABLE) << name;
  }
  EXPECT_EQ(refusal("."), errors::DESTINATION_UNUSABLE);
  EXPECT_EQ(refusal("/proc"), errors::DESTINATION_UNUSABLE) << "a mount point, and somebody else's";
  for (const char* name : {"p", "p/a", ""}) EXPECT_EQ(refusal(in(name)), errors::DESTINATION_IN_PROJECT) << name;
}

TEST_F(UpdateTest, TwoUpdatesOfOneCopyAreNotAtWorkAtOnce) {
  const FolderProject project = FolderProject::open(in("p"));
  const auto copy = project.workingCopy();
  const auto refusal = [&] { return refusalOf([&] { earlierCopyAt(*copy, in("out/copy")); }); };
  {
    const EarlierCopy held = earlierCopyAt(*copy, in("out/copy"));
    EXPECT_EQ(refusal(), errors::DESTINATION_UNUSABLE);
  }
  EXPECT_EQ(refusal(), "");
}

TEST_F(UpdateTest, AnyFileOfTheCopyThatIsNotAsNotedIsFound) {
  const std::string file = in("out/copy/a/x");
  const struct {
    const char* title;
    std::function<void()> act;
    bool isNoted;
  } rows[] = {
      {"nothing happened", [] {}, true},
      {"a file more in its own store's folder", [&] { put("out/copy/.project/mine"); }, true},
      {"a file more", [&] { put("out/copy/a/mine"); }, false},
      {"another content", [&] { keepTimes(file, [&] { write(file, "FIRST"); }); }, false},
      {"another file of its name", [&] { keepTimes(file, [&] { fs::remove(file), write(file, "first"); }); }, false},
      {"a mode that was given back", [&] { ::chmod(file.c_str(), 0600), ::chmod(file.c_str(), 0644); }, false},
      {"no notes", [&] { fs::remove_all(in("p/.project/copies")); }, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    begin();
    ::usleep(20000);
    row.act();
    const FolderProject project = FolderProject::open(in("p"));
    const EarlierCopy earlier = earlierCopyAt(*project.workingCopy(), in("out/copy"));
    EXPECT_EQ(isAsNoted(earlier, readCopyNotes(project.storeFolder(), in("out/copy"))), row.isNoted);
  }
}

TEST_F(UpdateTest, AnEmptyFolderGivesWayAsLongAsItIsEmpty) {
  const FolderProject project = FolderProject::open(in("p"));
  const auto refusal = [&](const Transformation& change) {
    return refusalOf([&] { share(project.workingCopy(), change, in("out/empty")); });
  };
  fs::create_directory(in("out/empty"));
  EXPECT_EQ(refusal(Transformation([&](auto&) { put("out/empty/mine"); })), errors::DESTINATION_EXISTS);
  EXPECT_EQ(tree("out/empty"), Names{"mine"});
  EXPECT_EQ(refusal(Transformation()), errors::DESTINATION_EXISTS);
  fs::remove(in("out/empty/mine"));
  EXPECT_EQ(refusal(Transformation()), "");
  EXPECT_EQ(read(in("out/empty/b")), "other");
  fs::create_directory(in("here"));
  const fs::path before = fs::current_path();
  fs::current_path(in("here"));
  const std::string here = refusalOf([&] { share(project.workingCopy(), Transformation(), "../here"); });
  fs::current_path(before);
  EXPECT_EQ(here, errors::DESTINATION_EXISTS) << "nobody stands in what is replaced";
}

}  // namespace folder_host
