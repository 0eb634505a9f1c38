#include <sys/stat.h>

#include "Refusal.h"
#include "Shared.h"
#include "receipt/KeptReceipts.h"

namespace project_share {

namespace {

namespace fs = std::filesystem;

class KeptReceiptsTest : public SharedProject {
 protected:
  static ReceiptHead head(const std::string& destination, const std::string& profile = "P",
                          const std::string& from = {}) {
    ReceiptHead head;
    head.time = "2026-11-21T06:40:24Z";
    head.profileUuid = profile, head.profileName = profile.empty() ? "" : "public";
    head.from = from, head.destination = destination, head.shape = "folder";
    head.judgement = head.copy = std::string(64, 'e');
    return head;
  }
  void keep(const ReceiptHead& head, const char* folder = RECEIPTS) const {
    Keeping keeping(project_, head, folder);
    keeping.finish();
    keeping.complete();
  }
  // Of what is kept, the newest first; of a share that is not known to have come about, with a question mark.
  std::string told(const char* folder = RECEIPTS) const {
    std::string told;
    for (const KeptReceipt& kept : keptReceipts(project_, folder)) {
      told += kept.head.destination + kept.head.from + (kept.isComplete ? " " : "? ");
    }
    return told;
  }
  // As of a share that was killed.
  void keepBegun(const ReceiptHead& head) const {
    keep(head);
    const std::string name = in("p/.project/receipts/" + kept().back());
    fs::rename(name, name + ".begun");
  }

  const folder_host::FolderProject project_ = project();
};

TEST_F(KeptReceiptsTest, TheNewestComesFirstWhateverTheClockSays) {
  EXPECT_EQ(told(), "");
  keep(head("/a"));
  fs::rename(in("p/.project/receipts/" + kept().at(0)), in("p/.project/receipts/9999999998.999999999-00000000"));
  keep(head("/b"));
  keep(head("/c"), JUDGEMENTS);
  keep(head("/d"));
  EXPECT_EQ(told(), "/d /b /a ");
  EXPECT_EQ(told(JUDGEMENTS), "/c ");
  EXPECT_EQ(keptReceipts(project_).at(2).head, head("/a"));
}

TEST_F(KeptReceiptsTest, IsThereFromItsEndOnAndKeptOnceItsShareHasComeAbout) {
  {
    Keeping keeping(project_, head("/a"));
    EXPECT_EQ(told(), "");
    keeping.finish();
    EXPECT_EQ(told(), "/a? ");
  }
  EXPECT_EQ(kept(), std::vector<std::string>());
  {
    Keeping keeping(project_, head("/a"));
    keeping.finish();
    keeping.complete();
  }
  EXPECT_EQ(told(), "/a ");
  EXPECT_EQ(fs::status(in("p/.project/receipts/" + kept().at(0))).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(in("p/.project/receipts")).permissions(), fs::perms(0700));
}

TEST_F(KeptReceiptsTest, TheLastOfOneProfileScopeAndDestinationStay) {
  const ReceiptHead of = head("/a");
  for (int i = 0; i < 2; ++i) {
    for (const ReceiptHead& one : {of, head("/a", "Q"), head("/a", ""), head("/a", "P", "sub"), head("/b")}) keep(one);
  }
  forgetOlder(project_, of, 2);
  EXPECT_EQ(kept().size(), 10U);
  forgetOlder(project_, of, 1);
  EXPECT_EQ(kept().size(), 9U);
  EXPECT_EQ(keptReceipts(project_).at(4).head, of) << "the newest of them stays";
  forgetOlder(project_, of, 0);
  EXPECT_EQ(kept().size(), 8U);
  keep(of, JUDGEMENTS);
  forgetOlder(project_, of, 0);
  EXPECT_EQ(told(JUDGEMENTS), "/a ");
}

TEST_F(KeptReceiptsTest, OfKilledSharesTheyStayAsLongAsSomebodyMayAsk) {
  keepBegun(head("/a"));
  keepBegun(head("/b"));
  forgetOlder(project_, head("/a"), 10);
  EXPECT_EQ(told(), "/b? /a? ") << "either may have come about";
  keep(head("/a"));
  forgetOlder(project_, head("/a"), 10);
  EXPECT_EQ(told(), "/a /b? ");
  keepBegun(head("/a"));
  forgetOlder(project_, head("/a"), 10);
  EXPECT_EQ(told(), "/a? /a /b? ");
  Keeping atWork(project_, head("/c"));
  for (int i = 0; i < 12; ++i) keepBegun(head("/d" + std::to_string(i)));
  forgetOlder(project_, head("/a"), 10);
  EXPECT_EQ(keptReceipts(project_).size(), 10U + 1U) << "ten of them, and the complete one";
  atWork.finish();
  EXPECT_EQ(keptReceipts(project_).size(), 10U + 1U + 1U) << "what was being put together, too";
}

TEST_F(KeptReceiptsTest, OneOfAShareAtWorkIsNotTakenForAKilledOne) {
  Keeping atWork(project_, head("/a"));
  atWork.finish();
  forgetOlder(project_, head("/a"), 0);
  EXPECT_EQ(told(), "/a? ");
}

TEST_F(KeptReceiptsTest, WhateverElseIsThereIsPassedOverAndStays) {
  keep(head("/a"));
  const std::string folder = in("p/.project/receipts/"), real = folder_host::read(folder + kept().at(0));
  const auto name = [&](int i) { return folder + "999999999" + std::to_string(i) + ".000000000-00000000"; };
  fs::create_symlink(kept().at(0), name(1));
  ASSERT_EQ(::mkfifo(name(2).c_str(), 0600), 0);
  fs::create_directory(name(3));
  folder_host::write(folder + "999999999x.000000000-00000000", real);
  folder_host::write(name(4) + ".old", real);
  folder_host::write(name(5), real.substr(1));
  folder_host::write(name(6), real.substr(0, 40));
  const std::size_t others = kept().size() - 1;
  EXPECT_EQ(told(), "/a ");
  forgetOlder(project_, head("/a"), 0);
  EXPECT_EQ(kept().size(), others);
}

TEST_F(KeptReceiptsTest, NoneIsKeptWhereSomethingElseHasTheFoldersName) {
  fs::create_directory(in("elsewhere"));
  for (const bool isLink : {false, true}) {
    isLink ? fs::create_directory_symlink(in("elsewhere"), in("p/.project/receipts")) : put("p/.project/receipts", "");
    EXPECT_THROW(checkKeeping(project_), std::system_error);
    EXPECT_THROW(Keeping(project_, head("/a")), std::system_error);
    fs::remove(in("p/.project/receipts"));
  }
  EXPECT_EQ(tree("elsewhere"), std::vector<std::string>());
  checkKeeping(project_);
  EXPECT_FALSE(fs::exists(in("p/.project/receipts"))) << "to ask makes nothing";
}

}  // namespace

}  // namespace project_share
