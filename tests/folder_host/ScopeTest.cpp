#include <filesystem>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/share/Strip.h"
#include "folder_host/share/read/ArchiveContent.h"
#include "folder_host/store/LabelStore.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

// A project of which the folder "d/e" is handed out.
class ScopeTest : public FolderTest {
 protected:
  ScopeTest() {
    put("p/a", "above"), put("p/d/b", "beside"), put("p/d/e/f/x", "x"), put("p/d/e/y", "y"), put("p/d-e", "alike");
    fs::create_symlink("f/x", in("p/d/e/in"));
    fs::create_symlink("../b", in("p/d/e/out"));
    fs::create_symlink("../../a", in("p/d/e/f/far"));
    FolderProject::init(in("p"));
  }

  std::shared_ptr<WorkingCopy> copyOf(const FolderProject& project) const {
    auto copy = project.workingCopy();
    strip(copy, Transformation());
    copy->setScope(copy->table().find("d/e").value());
    copy->narrowToScope();
    return copy;
  }

  HandedOut handOutAs(const std::string& name, const HandOutOptions& options = {}) const {
    const auto copy = copyOf(FolderProject::open(in("p")));
    return handOut(*copy, checkDestination(*copy, in(name), options.shape), options);
  }
};

}  // namespace

TEST_F(ScopeTest, WhatLiesInItIsHandedOutByItsPathThere) {
  fs::permissions(in("p/d/e"), fs::perms::owner_all);
  handOutAs("copy");
  EXPECT_EQ(tree("copy"), (Names{".project", ".project/store.db", "f", "f/x", "in", "y"}));
  EXPECT_EQ(read(in("copy/f/x")), "x");
  EXPECT_EQ(fs::status(in("copy")).permissions(), fs::perms::owner_all) << "the scope's";
  for (const Shape shape : {Shape::tar, Shape::zip}) {
    HandOutOptions options;
    options.shape = shape, options.isPlain = true;
    const HandedOut handedOut = handOutAs(wordOf(shape), options);
    Names told;
    openCopy(in(wordOf(shape)))
        ->forEach([](const CopyEntry&) { return false; }, [&](const CopyEntry& entry) { told.push_back(entry.path); },
                  [](std::uint64_t) {});
    EXPECT_EQ(told, (Names{"f", "f/x", "in", "y"}));
    EXPECT_EQ(handedOut.written.size(), told.size());
  }
}

TEST_F(ScopeTest, MarksFromAboveLeaveAtWhatIsThere) {
  {
    FolderProject project = FolderProject::open(in("p"));
    LabelStore& labels = project.labels();
    labels.attach(labels.create(u"s", u"all").uuid, {"d"}, MarkKind::reach);
    labels.attach(labels.create(u"s", u"d alone").uuid, {"d", "d/e"}, MarkKind::entry);
    labels.attach(labels.create(u"s", u"one").uuid, {"d/e/f/x"}, MarkKind::entry);
    labels.attach(labels.create(u"s", u"beside").uuid, {"d/b", "d-e", "a"}, MarkKind::entry);
  }
  handOutAs("copy");
  const FolderProject copy = FolderProject::open(in("copy"));
  Names had;
  const auto working = copy.workingCopy();
  for (std::size_t i = 0; i < working->table().size(); ++i) {
    had.push_back(working->table()[i].path + " " + std::to_string(working->effective().of(i).size()));
  }
  EXPECT_EQ(had, (Names{"f 1", "f/x 2", "in 1", "y 1"}));
  EXPECT_EQ(copy.labels().list().size(), 2U) << "of what lies outside, not even the label";
  const std::string store = read(in("copy/.project/store.db"));
  for (const char* path : {"d/e", "d-e", "beside"}) EXPECT_EQ(store.find(path), std::string::npos) << path;
}

TEST_F(ScopeTest, AFolderThatIsAnotherOneByNowIsNotHandedOut) {
  const struct {
    const char* title;
    std::function<void()> replace;
  } rows[] = {
      {"gone", [] {}},
      {"another folder", [&] { put("p/d/e/y", "y"); }},
      {"a link to the same", [&] { fs::create_directory_symlink(in("p/kept"), in("p/d/e")); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    const auto copy = copyOf(FolderProject::open(in("p")));
    const Place place = checkDestination(*copy, in("copy"));
    fs::rename(in("p/d/e"), in("p/kept"));
    row.replace();
    EXPECT_EQ(refusalOf([&] { handOut(*copy, place, {}); }), errors::ENTRY_CHANGED);
    EXPECT_FALSE(fs::exists(in("copy")));
    fs::remove_all(in("p/d/e"));
    fs::rename(in("p/kept"), in("p/d/e"));
  }
}

// The notes of the copy are by its paths, too: else nothing would be taken over.
TEST_F(ScopeTest, AnUpdateTakesOverWhatIsThere) {
  const FolderProject project = FolderProject::open(in("p"));
  HandOutOptions options;
  options.storeFolder = &project.storeFolder();
  ::usleep(20000);
  handOutAs("copy", options);
  put("p/d/e/z", "new");
  const auto copy = copyOf(project);
  const EarlierCopy earlier = earlierCopyAt(*copy, in("copy"));
  options.earlier = &earlier;
  EXPECT_EQ(handOut(*copy, earlier.place, options).takenOver, 2U);
  EXPECT_EQ(tree("copy"), (Names{".project", ".project/store.db", "f", "f/x", "in", "y", "z"}));
}

}  // namespace folder_host
