#include "Refusal.h"
#include "Shared.h"
#include "receipt/FoundReceipt.h"
#include "receipt/Since.h"

namespace project_share {

using folder_host::refusalOf;

namespace {

namespace fs = std::filesystem;

class SinceTest : public SharedProject {
 protected:
  // "added a b, gone c"
  static std::string text(const Since& since) {
    std::string text;
    for (std::size_t i = 0; i < Since::TURNS; ++i) {
      if (since.entries[i].empty()) continue;
      text += (text.empty() ? "" : ", ") + std::string(wordOf(static_cast<Since::Turn>(i)));
      for (const SinceEntry& entry : since.entries[i]) text += " " + entry.path;
    }
    return text;
  }
  std::string since(const std::string& from = {}, const std::string& profile = "public") const {
    const Judged now = judged(profile, from);
    ReceiptReader receipt(in("receipt"));
    return text(sinceOf(now.judgement, receipt));
  }
  // The notes on what is newly shared.
  std::vector<Risk> newlyShared(const std::string& profile) const {
    Judged now = judged(profile);
    ReceiptReader receipt(in("receipt"));
    now.judgement.found.notes = {{"another", {}, {}}};
    noteNewlyShared(*now.copy, now.profile->getFilters(), sinceOf(now.judgement, receipt), now.judgement);
    EXPECT_STREQ(now.judgement.found.notes.back().identifier, "another") << "what was noted before stays behind them";
    now.judgement.found.notes.pop_back();
    return now.judgement.found.notes;
  }
};

TEST_F(SinceTest, EachTurnIsToldOfWhatTookIt) {
  put("p/sub/a"), put("p/sub/b");
  type("share public IN/copy --receipt IN/receipt");
  EXPECT_EQ(since(), "");
  put("p/new/file");
  setTime("p/open", 2, 5);
  fs::remove(in("p/link")), fs::create_symlink("sub", in("p/link"));
  type("label attach in sub/a");
  type("label detach in drafts");
  fs::remove(in("p/sub/b")), fs::remove(in("p/drafts/secret"));
  EXPECT_EQ(since(), "added new new/file, changed link open, newly held back sub/a, newly shared drafts, gone sub/b");
}

TEST_F(SinceTest, ChangedIsWhatACopyWouldGetInAnotherWay) {
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"", [&] { put("p/open", "OPEN"), setTime("p/open", 1, 5); }},  // content is not read
      {"changed open", [&] { setTime("p/open", 1, 6); }},
      {"", [&] { setTime("p/open", 1, 5); }},
      {"changed open", [&] { put("p/open", "longer"), setTime("p/open", 1, 5); }},
      {"changed open",
       [&] { put("p/open", "open"), setTime("p/open", 1, 5), fs::permissions(in("p/open"), fs::perms::owner_all); }},
      {"changed open", [&] { fs::remove(in("p/open")), fs::create_directory(in("p/open")); }},
  };
  fs::permissions(in("p/open"), fs::perms::owner_read);
  fs::permissions(in("p/open"), fs::perms::owner_read | fs::perms::owner_write);
  type("share public IN/copy --receipt IN/receipt");
  for (const auto& [expected, change] : rows) {
    change();
    EXPECT_EQ(since(), expected) << &expected - &rows[0].first;
  }
}

TEST_F(SinceTest, AnArchiveHasWholeSeconds) {
  type("share public IN/copy.zip --receipt IN/receipt");
  setTime("p/open", 1, 6);
  EXPECT_EQ(since(), "");
  setTime("p/open", 3, 6);
  EXPECT_EQ(since(), "changed open");
}

TEST_F(SinceTest, AReceiptOfAnotherProfileOrScopeIsComparedWithNothing) {
  type("profile duplicate public twin");
  type("share public IN/copy --from sub --receipt IN/receipt");
  EXPECT_EQ(since("sub"), "");
  EXPECT_EQ(refusalOf([&] { since(); }), refusals::RECEIPT_OF_ANOTHER);
  EXPECT_EQ(refusalOf([&] { since("drafts"); }), refusals::RECEIPT_OF_ANOTHER);
  EXPECT_EQ(refusalOf([&] { since("sub", "twin"); }), refusals::RECEIPT_OF_ANOTHER);
  put("p/sub/more"), put("p/more");
  EXPECT_EQ(since("sub"), "added sub/more");
}

TEST_F(SinceTest, TheLastIsThatOfTheSameProfileAndScopeThatCanBeRead) {
  type("profile duplicate public twin");
  for (const char* words : {"share public IN/one", "share public IN/two", "share twin IN/three",
                            "share public IN/four --from sub", "share --whole IN/five"}) {
    type(words);
  }
  std::vector<Risk> notes;
  const auto last = [&](std::uint64_t most = ReceiptReader::MOST) {
    notes.clear();
    const auto found = lastReceipt(project(), judged().judgement, most, notes);
    return found ? fs::path(found->head().destination).filename().string() : "";
  };
  EXPECT_EQ(last(), "two");
  EXPECT_EQ(notes.size(), 0U);
  EXPECT_EQ(last(100), "") << "what is longer is not read";
  EXPECT_EQ(notes.size(), 2U);
  const std::string second = in("p/.project/receipts/" + kept().at(1));
  fs::resize_file(second, fs::file_size(second) - 1);
  EXPECT_EQ(last(), "one");
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_STREQ(notes[0].identifier, risks::RECEIPT_DAMAGED.identifier);
  EXPECT_NE(notes[0].what.find(second), std::string::npos);
}

TEST_F(SinceTest, NewlySharedIsWhatComesInByALabelFromAboveOrByARule) {
  type("label detach out sub");
  type("label attach --create a/press sub");
  type("label rule add press *.txt");
  type("profile create press");
  type("profile add-filter press keep-files press");
  type("share press IN/copy --receipt IN/receipt");
  EXPECT_EQ(newlyShared("press").size(), 0U);
  put("p/sub/new1"), put("p/sub/new2"), put("p/sub/inner/new3"), put("p/notes.txt"), put("p/own"), put("p/other");
  type("label attach press own");
  const std::vector<Risk> notes = newlyShared("press");
  ASSERT_EQ(notes.size(), 2U) << "one for each place that the label comes from";
  std::set<std::set<std::string>> paths;
  for (const Risk& note : notes) {
    EXPECT_STREQ(note.identifier, risks::NEWLY_SHARED.identifier);
    std::set<std::string> all(note.otherPaths.begin(), note.otherPaths.end());
    all.insert(note.path);
    paths.insert(all);
  }
  EXPECT_EQ(paths, (std::set<std::set<std::string>>{{"notes.txt"}, {"sub/inner/new3", "sub/new1", "sub/new2"}}));
}

TEST_F(SinceTest, NothingIsNewlySharedByADropFilter) {
  type("share public IN/copy --receipt IN/receipt");
  put("p/sub/new");
  EXPECT_EQ(newlyShared("public").size(), 0U);
}

}  // namespace

}  // namespace project_share
