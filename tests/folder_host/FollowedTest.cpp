#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "Fixture.h"
#include "PlainFilters.h"
#include "folder_host/labels/Following.h"
#include "project/sharing/profiles/ExportFilter.h"

namespace folder_host {

namespace {

using project::sharing::profiles::EXCLUDE_FILES_WITH_LABEL;
using project::sharing::profiles::INCLUDE_FILES_WITH_LABEL;
using Table = std::shared_ptr<const EntryTable>;

// A project that remembers what is secret in it: the file s by a mark, the folder d but for d/open, and *.key by a
// rule; and the file w, which has another label. The files o and n have none.
class FollowedTest : public FolderTest {
 protected:
  // Anew.
  void make() {
    std::filesystem::remove_all(in("p"));
    for (const char* file : {"s", "d/x", "d/sub/y", "d/open", "a.key", "w", "o", "n"}) {
      put(std::string("p/") + file, std::string("the content of ") + file);
    }
    // The clock that entries are stamped by goes in steps: all that was there has to be older than what is remembered.
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    const FolderProject project = FolderProject::init(in("p"));
    secret_ = project.labels().create(u"c", u"secret");
    project.labels().attach(secret_.uuid, {"s", "d"}, MarkKind::reach);
    project.labels().attach(secret_.uuid, {"d/open"}, MarkKind::exception);
    project.labels().setRules(secret_.uuid, {"*.key"});
    project.labels().attach(project.labels().create(u"c", u"other").uuid, {"w"}, MarkKind::reach);
    project.remember(tableOf(project), {});
  }

  FolderProject open() const { return FolderProject::open(in("p")); }

  static Table tableOf(const FolderProject& project) {
    return std::make_shared<const EntryTable>(std::make_shared<const Listing>(project.list()));
  }

  void run(const std::string& script) const {
    const std::string command = "set -e; cd '" + in("p") + "'; " + script;
    // NOLINTNEXTLINE(cert-env33-c): nothing of it comes from outside
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  // The files that are not shared under a filter of that kind, or those that are.
  std::string files(const FolderProject& project, const std::u16string& kind, bool areShared) const {
    const Transformation filter([&](project::management::ProjectManager& copy) {
      plain::applyFileFilter(kind, {{secret_.categoryUUID, secret_.uuid}}, copy);
    });
    const auto copy = judged(project, filter);
    std::string paths;
    for (std::size_t i = 0; i < copy->table().size(); ++i) {
      const Entry& entry = copy->table()[i];
      if (entry.kind == EntryKind::file && copy->heldBack()[i] != areShared) paths += entry.path + ' ';
    }
    return paths;
  }

  // Each with where its labels came from.
  static std::string differing(const Followed& followed, const EntryTable& table) {
    std::string paths;
    for (const auto& [entry, had] : followed.differing()) paths += table[entry].path + '<' + had.from + ' ';
    return paths;
  }

  static std::string lost(const Followed& followed) {
    std::string paths;
    for (const auto& one : followed.lost()) {
      paths += one.path + (one.isFolder ? "/" : "") + (one.isUncertain ? "? " : " ");
    }
    return paths;
  }

  // What followed is just what it was, and nothing else has lost a label.
  static void expectFollows(const FolderProject& project) {
    const Table table = tableOf(project);
    const auto followed = project.followed(table);
    std::map<std::string, std::string> moves;
    {
      const auto scope = project.beginWrite();
      for (auto& move : followIn(*followed, *table, {""}, project.labels())) moves.insert(std::move(move));
    }
    const EffectiveLabels effective(*table, project.labels());
    for (std::size_t i = 0; i < table->size(); ++i) {
      const auto differs = followed->differing().find(i);
      const LabelSet has = followed->has().of(i), now = effective.of(i);
      const bool isOpen = differs != followed->differing().end() && moves.count((*table)[i].path) == 0;
      const LabelSet& expected = moves.count((*table)[i].path) != 0 ? differs->second.labels : has;
      EXPECT_TRUE(isOpen ? std::includes(now.begin(), now.end(), has.begin(), has.end()) : now == expected)
          << (*table)[i].path;
    }
    project.remember(table, {{""}});
    EXPECT_EQ(differing(*project.followed(table), *table), "");
  }

  LabelRecord secret_;
};

}  // namespace

TEST_F(FollowedTest, WhatHadALabelUnderAnotherNameIsHeldBackAsIfItHadIt) {
  const std::string copied = "cd ..; cp -a p q; rm -r p; mv q p; cd p; ";  // no file is the one that it was
  const struct {
    std::string title, script, dropped, kept, differing, lost;
  } rows[] = {
      {"nothing happened", "", "a.key d/sub/y d/x s ", "a.key d/sub/y d/x s ", "", ""},
      {"added where the label reaches", "echo >d/new", "a.key d/new d/sub/y d/x s ", "a.key d/new d/sub/y d/x s ", "",
       ""},
      {"moved where it reaches", "mv d/x d/sub", "a.key d/sub/x d/sub/y s ", "a.key d/sub/x d/sub/y s ", "", ""},
      {"moved out", "mv d/x x; mv a.key a.txt; mv s d/open2; mv d/open2 t", "a.txt d/sub/y t x ", "d/sub/y ",
       "a.txt<a.key t<s x<d/x ", ""},
      {"moved in", "mv o d; mv w d/sub", "a.key d/o d/sub/w d/sub/y d/x s ", "a.key d/o d/sub/y d/x s ", "d/sub/w<w ",
       ""},
      {"the exception moved", "mv d/open d/o2", "a.key d/o2 d/sub/y d/x s ", "a.key d/sub/y d/x s ", "d/o2<d/open ",
       ""},
      {"moved out and onto a name", "mv d/x o; mv s w", "a.key d/sub/y o w ", "a.key d/sub/y ", "o<d/x w<s ", ""},
      {"moved onto a labelled name", "mv o s; mv w d/x", "a.key d/sub/y d/x s ", "a.key d/sub/y s ", "d/x<w ", ""},
      {"moved onto an exception", "mv s d/open", "a.key d/open d/sub/y d/x ", "a.key d/sub/y d/x ", "d/open<s ", ""},
      {"saved by rename", "echo new >.t1; mv .t1 s; echo new >.t2; mv .t2 d/x", "a.key d/sub/y d/x s ",
       "a.key d/sub/y d/x s ", "", ""},
      {"moved aside and saved", "mv s s~; echo new >s; mv a.key a.key.bak; echo new >a.key; cp d/x d/.x.swp",
       "a.key a.key.bak d/.x.swp d/sub/y d/x s s~ ", "a.key d/.x.swp d/sub/y d/x s ", "a.key.bak<a.key s~<s ", ""},
      {"moved aside, and another moved there", "mv s s~; mv n s", "a.key d/sub/y d/x s s~ ", "a.key d/sub/y d/x s ",
       "s~<s ", ""},
      {"moved away and saved", "mv s t; echo new >s; mv d/x x; echo new >d/x", "a.key d/sub/y d/x s t x ",
       "a.key d/sub/y d/x s ", "t<s x<d/x ", ""},
      {"swapped", "mv s t; mv o s; mv t o", "a.key d/sub/y d/x o s ", "a.key d/sub/y d/x ", "o<s s< ", ""},
      {"swapped within another label's", "mv s t; mv w s; mv t w", "a.key d/sub/y d/x s w ", "a.key d/sub/y d/x ",
       "s<w w<s ", ""},
      {"copied", "cp -p s t; cp s u", "a.key d/sub/y d/x s ", "a.key d/sub/y d/x s ", "", ""},
      {"copied and edited under the old name", "cp s t; echo more >>s", "a.key d/sub/y d/x s ", "a.key d/sub/y d/x s ",
       "", ""},
      {"deleted and made again", "rm s a.key; echo new >s; echo new >a.key", "a.key d/sub/y d/x s ",
       "a.key d/sub/y d/x s ", "", ""},
      {"a hard link", "ln s t", "a.key d/sub/y d/x s ", "a.key d/sub/y d/x s ", "", ""},
      {"hard links in its place", "ln s t; ln s u; rm s", "a.key d/sub/y d/x t u ", "a.key d/sub/y d/x ", "t<s u<s ",
       ""},
      {"a folder moved, with a new file in it", "mv d e; echo >e/new; mkdir e/f; echo >e/f/new",
       "a.key e/f/new e/new e/sub/y e/x s ", "a.key s ",
       "e<d e/f<d/f e/f/new<d/f/new e/new<d/new e/sub<d/sub e/sub/y<d/sub/y e/x<d/x ", ""},
      {"files saved, and their folder moved", "echo new >t; mv t d/x; echo new >t; mv t d/open; mv d e",
       "a.key e/sub/y e/x s ", "a.key s ", "e<d e/sub<d/sub e/sub/y<d/sub/y e/x<d/x ", ""},
      {"a folder moved, and another made", "mv d e; mkdir d; echo >d/new", "a.key d/new e/sub/y e/x s ",
       "a.key d/new s ", "e<d e/sub<d/sub e/sub/y<d/sub/y e/x<d/x ", ""},
      {"a file deleted", "rm s a.key d/x", "d/sub/y ", "d/sub/y ", "", "s "},
      {"a folder deleted", "rm -r d", "a.key s ", "a.key s ", "", "d/ "},
      {"all copied", copied, "a.key d/sub/y d/x s ", "a.key d/sub/y d/x s ", "", ""},
      {"all copied, a file renamed or moved", copied + "mv s t; mv d/x .; mv a.key sub.txt", "d/sub/y sub.txt t x ",
       "d/sub/y ", "sub.txt<a.key t<s x<d/x ", ""},
      {"all copied, and files edited and moved",
       copied + "echo more >>s; mv s t; echo more >>d/x; mv d/x x; cp d/sub/y d/z; rm d/sub/y; mv d/z y", "a.key y ",
       "a.key ", "y<d/sub/y ", "d/x? s? "},
      {"all copied, and a folder moved", copied + "mv d/sub sub", "a.key d/x s sub/y ", "a.key d/x s ",
       "sub/y<d/sub/y ", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    make();
    run(row.script);
    const FolderProject project = open();
    const Table table = tableOf(project);
    const auto followed = project.followed(table);
    EXPECT_EQ(files(project, EXCLUDE_FILES_WITH_LABEL, false), row.dropped);
    EXPECT_EQ(files(project, INCLUDE_FILES_WITH_LABEL, true), row.kept);
    EXPECT_EQ(differing(*followed, *table), row.differing);
    EXPECT_EQ(lost(*followed), row.lost);
    project.remember(table, {});
    EXPECT_EQ(differing(*project.followed(table), *table), row.differing) << "remembered as it was";
    expectFollows(project);
  }
}

// What happens one after another, with a share in between, or labels that follow.
TEST_F(FollowedTest, WhatHadALabelIsHeldBackUnderWhateverNameItTakesNext) {
  const struct {
    const char* title;
    std::vector<std::string> scripts;
    const char* dropped;
  } rows[] = {
      {"the old name anew, and moved to the new one",
       {"mv d/x x", "mv x y; echo new >x", "rm y; mv x y"},
       "a.key d/sub/y s y "},
      {"what was moved aside, moved back", {"mv d/x x", "mv x x~; echo new >x", "mv x~ x"}, "a.key d/sub/y s x "},
      {"the name anew, followed", {"mv s t; echo new >s", "follow"}, "a.key d/sub/y d/x s t "},
      {"the name anew, and moved", {"mv s t; echo new >s", "mv s u"}, "a.key d/sub/y d/x t u "},
      {"a hard link, saved", {"ln d/x d/z", "echo new >t; mv t d/x", "mv d/x x"}, "a.key d/sub/y d/z s x "},
      {"what took a name, moved on", {"mv s t; mv o s", "mv s u"}, "a.key d/sub/y d/x t u "},
      {"saved, and its folder moved", {"mkdir u; mv s u", "echo new >t; mv t u/s; mv u v"}, "a.key d/sub/y d/x v/s "},
      {"moved there and back", {"mv d/x o", "mv o d/x", "mv d/x x"}, "a.key d/sub/y s x "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    make();
    const FolderProject project = open();
    for (const std::string& script : row.scripts) {
      if (script == "follow") {
        expectFollows(project);
      } else {
        run(script);
        project.remember(tableOf(project), {});
      }
    }
    EXPECT_EQ(files(project, EXCLUDE_FILES_WITH_LABEL, false), row.dropped);
  }
}

// As an undo or an import puts it there, or an edit of which nothing could be noted.
TEST_F(FollowedTest, WhatIsPutOnAnOldPathIsAboutWhatIsElsewhere) {
  for (const char* move : {"mv s t", "mv d t", "mv d/x t", "mv s t; echo new >s"}) {
    make();
    const FolderProject project = open();
    project.labels().detach(secret_.uuid, {"s", "d"});
    project.remember(tableOf(project), {{"s", "d"}, true, secret_.uuid, true});
    run(move);
    project.labels().attach(secret_.uuid, {"s", "d"}, MarkKind::reach);
    const std::string shared = " " + files(project, EXCLUDE_FILES_WITH_LABEL, true);
    for (const char* moved : {" t ", " t/x ", " t/sub/y "}) EXPECT_EQ(shared.find(moved), std::string::npos) << move;
  }
}

TEST_F(FollowedTest, WhatAnEditSettledIsOpenAgainAfterItsUndo) {
  make();
  const FolderProject project = open();
  run("mv s t");
  const Table table = tableOf(project);
  {
    const auto scope = project.beginWrite();
    project.note(project.followed(table)->openAt({"t"}, true), true);
  }
  project.remember(table, {{"t"}, true, secret_.uuid, true});
  EXPECT_EQ(differing(*project.followed(table), *table), "");
  project.undo(project.lastEdit(), table);
  EXPECT_EQ(differing(*project.followed(table), *table), "t<s ");
  project.undo(project.lastEdit(), table);
  EXPECT_EQ(differing(*project.followed(table), *table), "");
}

}  // namespace folder_host
