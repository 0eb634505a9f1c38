#include <sys/stat.h>

#include "Refusal.h"
#include "Shared.h"
#include "folder_host/share/EarlierCopy.h"
#include "folder_host/share/read/ArchiveContent.h"
#include "folder_host/text/Utf.h"
#include "receipt/CopyComparison.h"
#include "receipt/EarlierShare.h"
#include "receipt/FoundReceipt.h"

namespace project_share {

using folder_host::refusalOf;

namespace {

namespace fs = std::filesystem;

class ComparisonTest : public SharedProject {
 protected:
  // "added b, missing a"
  static std::string text(const std::vector<CopyDifference>& differences) {
    std::string text;
    for (const auto& [how, path] : differences) text += (text.empty() ? "" : ", ") + std::string(how) + " " + path;
    return text;
  }
  std::string compared(CompareBy by, const std::string& copy = "copy") const {
    ReceiptReader receipt(in("receipt"));
    return text(differencesOf(*folder_host::openCopy(in(copy)), receipt, by, [](const folder_host::Progress&) {}));
  }
  // Where the receipt says that the copy was made, by what the project keeps; none: "".
  std::string found(const std::string& copy) {
    notes_.clear();
    const auto found = receiptOf(project(), in(copy), *folder_host::openCopy(in(copy)), notes_);
    return found ? fs::path(found->kept.head.destination).filename().string() : "";
  }
  std::string nameOfReceipt(std::size_t i) const { return in("p/.project/receipts/" + kept().at(i)); }
  void damage(std::size_t i) const { fs::resize_file(nameOfReceipt(i), fs::file_size(nameOfReceipt(i)) - 1); }
  // As a killed share leaves the newest one.
  void beginLast() const { fs::rename(nameOfReceipt(kept().size() - 1), nameOfReceipt(kept().size() - 1) + ".begun"); }

  EarlierShare earlier(const std::string& copy, const std::string& profile = "public", bool isPlain = false) const {
    const Judged now = judged(profile);
    ReceiptHead wanted;
    wanted.profileUuid = folder_host::toBytes(now.judgement.uuid);
    wanted.shape = "folder";
    wanted.isPlain = isPlain;
    return earlierShareOf(project(), earlierCopyAt(*now.copy, in(copy)), wanted, CompareBy::status,
                          [](const folder_host::Progress&) {});
  }

  std::vector<Risk> notes_;
};

TEST_F(ComparisonTest, EachDifferenceIsFoundByWhatIsCompared) {
  type("share public IN/copy --receipt IN/receipt");
  EXPECT_EQ(compared(CompareBy::content) + compared(CompareBy::status), "");
  struct Row {
    const char *byContent, *byStatus;
    std::function<void()> change;
  };
  const Row rows[] = {
      {"changed open", "", [&] { put("copy/open", "OPEN"), setTime("copy/open", 1, 5); }},
      {"", "changed open", [&] { put("copy/open", "open"), setTime("copy/open", 1, 6); }},
      {"", "changed open", [&] { setTime("copy/open", 1, 5), fs::permissions(in("copy/open"), fs::perms::owner_all); }},
      {"changed open", "changed open", [&] { put("copy/open", "longer"); }},
      {"missing open", "missing open", [&] { fs::remove(in("copy/open")); }},
      {"changed open", "changed open", [&] { ::mkfifo(in("copy/open").c_str(), 0600); }},
      {"changed open", "changed open", [&] { fs::remove(in("copy/open")), fs::create_directory(in("copy/open")); }},
      {"changed open", "changed open",
       [&] { fs::remove(in("copy/open")), fs::create_symlink("link", in("copy/open")); }},
      {"changed link, changed open", "changed link, changed open",
       [&] { fs::remove(in("copy/link")), fs::create_symlink("sub", in("copy/link")); }},
      {"added .project/more, changed link, changed open", "added .project/more, changed link, changed open",
       [&] { put("copy/.project/more"); }},
  };
  for (const Row& row : rows) {
    row.change();
    EXPECT_EQ(compared(CompareBy::content), row.byContent) << &row - rows;
    EXPECT_EQ(compared(CompareBy::status), row.byStatus) << &row - rows;
  }
}

TEST_F(ComparisonTest, OfTheStoreTheContentIsCompared) {
  type("share public IN/copy --receipt IN/receipt");
  fs::permissions(in("copy/.project/store.db"), fs::perms::owner_all);
  EXPECT_EQ(compared(CompareBy::status), "");
  std::string store = folder_host::read(in("copy/.project/store.db"));
  store.back() = static_cast<char>(store.back() ^ 1);
  folder_host::write(in("copy/.project/store.db"), store);
  EXPECT_EQ(compared(CompareBy::status), "changed .project/store.db");
}

TEST_F(ComparisonTest, AnArchiveIsComparedByWholeSeconds) {
  type("share public IN/copy.tar.gz --receipt IN/receipt");
  EXPECT_EQ(compared(CompareBy::status, "copy.tar.gz") + compared(CompareBy::content, "copy.tar.gz"), "");
}

TEST_F(ComparisonTest, ACopyIsFoundByItsPlaceAndElseByWhatItHolds) {
  type("share public IN/one");
  put("p/more");
  type("share public IN/two");
  EXPECT_EQ(found("two"), "two");
  fs::rename(in("one"), in("moved"));
  EXPECT_EQ(found("moved"), "one");
  fs::create_symlink("two", in("link"));
  EXPECT_EQ(found("link"), "two");
  fs::rename(in("two"), in("one"));
  EXPECT_EQ(found("one"), "one") << "its place counts, whatever is there";
  put("moved/open", "longer");
  EXPECT_EQ(found("moved"), "");
  EXPECT_EQ(notes_.size(), 0U);
}

TEST_F(ComparisonTest, ADamagedReceiptIsNotedAndTheOneBeforeItTaken) {
  for (int i = 0; i < 2; ++i) fs::remove_all(in("copy")), type("share public IN/copy");
  damage(1);
  EXPECT_EQ(found("copy"), "copy");
  ASSERT_EQ(notes_.size(), 1U);
  EXPECT_STREQ(notes_[0].identifier, risks::RECEIPT_DAMAGED.identifier);
  damage(0);
  EXPECT_EQ(found("copy"), "");
  EXPECT_EQ(notes_.size(), 2U);
}

TEST_F(ComparisonTest, OfAShareThatWasKilledTheCopyTellsWhetherItCameAbout) {
  type("share public IN/copy");
  put("p/more");
  type("share public IN/later");
  const std::string text = folder_host::read(nameOfReceipt(1));
  fs::rename(in("copy"), in("before")), fs::rename(in("later"), in("after"));
  const auto isTaken = [&](const char* copy) {  // the begun one
    const auto found = receiptOf(project(), in(copy), *folder_host::openCopy(in(copy)), notes_);
    return found && !found->kept.isComplete;
  };
  beginLast();
  EXPECT_TRUE(isTaken("after"));
  EXPECT_FALSE(isTaken("before"));
}

TEST_F(ComparisonTest, AnUpdateTakesEitherOfTheLastTwoWhereTheLastWasKilled) {
  for (const bool isNewThere : {false, true}) {
    fs::remove_all(in("copy")), fs::remove_all(in("old")), fs::remove_all(in("p/.project/receipts"));
    type("share public IN/copy");
    fs::rename(in("copy"), in("old"));
    put(isNewThere ? "p/two" : "p/one");
    type("share public IN/copy");
    beginLast();
    if (!isNewThere) fs::remove_all(in("copy")), fs::rename(in("old"), in("copy"));
    const EarlierShare share = earlier("copy");
    EXPECT_EQ(text(share.differences), "");
    EXPECT_EQ(share.receipt.isComplete, !isNewThere);
  }
  put("copy/open", "longer");
  EXPECT_EQ(text(earlier("copy").differences), "changed open, added two") << "as the last one says that is complete";
}

TEST_F(ComparisonTest, AnUpdateIsOfThisCopyAlone) {
  type("profile duplicate public twin");
  type("share public IN/copy");
  EXPECT_EQ(refusalOf([&] { earlier("copy"); }), "");
  EXPECT_EQ(refusalOf([&] { earlier("copy", "twin"); }), refusals::NOT_THIS_COPY);
  EXPECT_EQ(refusalOf([&] { earlier("copy", "public", true); }), refusals::NOT_THIS_COPY);
  put("else/file");
  EXPECT_EQ(refusalOf([&] { earlier("else"); }), refusals::NOT_THIS_COPY);
  fs::rename(in("copy"), in("moved"));
  EXPECT_EQ(text(earlier("moved").differences), "");
  damage(0);
  EXPECT_EQ(refusalOf([&] { earlier("moved"); }), refusals::RECEIPT_UNREADABLE);
}

}  // namespace

}  // namespace project_share
