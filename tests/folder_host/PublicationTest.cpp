#include "folder_host/files/Publication.h"

#include <fcntl.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "Fixture.h"
#include "folder_host/files/FolderState.h"
#include "folder_host/files/LockText.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

const std::string STAGING = stagingNameOf("12345678-1234-1234-1234-123456789abc");

int codeOf(const std::function<void()>& act) {
  try {
    act();
    return 0;
  } catch (const std::system_error& error) {
    return error.code().value();
  }
}

// An earlier copy, and a new one that is to take its place.
class ExchangeTest : public FolderTest {
 public:
  ~ExchangeTest() override;

 protected:
  void begin(bool atOnce) {
    publication_.reset();
    fs::remove_all(in("out"));
    put("out/copy/earlier", "earlier");
    parent_ = openFolder(in("out")), earlier_ = openFolder(in("out/copy"));
    publication_.emplace(parent_);
    writeAll(openBeneath(publication_->content(), "newer", O_WRONLY | O_CREAT | O_EXCL, 0600), "newer");
    atOnce_ = atOnce;
  }

  void exchange() { exchange(idOf(statusOf(earlier_))); }
  void exchange(const FileId& earlier) {
    publication_->exchange("copy", earlier, digestOf(stateOf(earlier_)), atOnce_);
  }
  std::string staging() const {
    for (const std::string& name : tree("out")) {
      if (!nameBehind(name).empty()) return in("out/" + nameBehind(name));
    }
    return {};
  }

  bool atOnce_ = true;
  Descriptor parent_, earlier_;
  std::optional<Publication> publication_;
};

ExchangeTest::~ExchangeTest() { publication_.reset(), parent_ = Descriptor(), earlier_ = Descriptor(); }

}  // namespace

TEST(LockText, SaysNothingButWhatWasWrittenWhole) {
  const FileId own{3, 4}, earlier{5, 6};
  const std::string name = "a \n b", begin = lockTextOf(STAGING);
  const std::string text = begin + ownLineOf(own) + earlierLineOf(earlier, "digest", name) + ownLineOf(earlier);
  const std::size_t ownEnd = begin.size() + ownLineOf(own).size();
  const std::size_t earlierEnd = text.size() - ownLineOf(earlier).size();
  for (std::size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(size);
    const LockText read(std::string_view(text).substr(0, size), STAGING);
    EXPECT_TRUE(read.isOurs);
    EXPECT_EQ(read.owns(own), size >= ownEnd);
    EXPECT_EQ(read.replaced(earlier), size >= earlierEnd);
    EXPECT_EQ(read.owns(earlier), size == text.size());
    EXPECT_EQ(read.name, size >= earlierEnd ? name : "");
    EXPECT_EQ(read.digest, size >= earlierEnd ? "digest" : "");
    EXPECT_FALSE(read.owns({3, 6}) || read.replaced(own));
  }
  EXPECT_FALSE(LockText(text, stagingNameOf("another")).isOurs);
  EXPECT_FALSE(LockText("x" + text, STAGING).isOurs);
  EXPECT_FALSE(LockText(begin, STAGING).replaced({0, 0}));
}

TEST(LockText, OnlyANameOfItsExactFormIsThatOfALock) {
  EXPECT_EQ(nameBehind(lockNameOf(STAGING)), STAGING);
  for (const std::string& name :
       {STAGING, asideNameOf(STAGING), "a" + lockNameOf(STAGING), lockNameOf(STAGING) + "x",
        lockNameOf(STAGING.substr(1)), lockNameOf(stagingNameOf("12345678-1234-1234-1234-123456789abC")),
        lockNameOf(stagingNameOf("12345678-1234-1234-1234-12345678/abc")), std::string()}) {
    EXPECT_EQ(nameBehind(name), "") << name;
  }
}

TEST_F(ExchangeTest, EachWayToEndItLeavesWhatItSays) {
  const struct {
    const char* title;
    std::function<void()> act;
    Names left;
  } rows[] = {
      {"given back", [&] { publication_->giveBack(); }, {"copy", "copy/earlier"}},
      {"given back, and the new one kept",
       [&] {
         publication_->giveBack();
         EXPECT_EQ(publication_->keepStaging("copy"), "copy.old");
       },
       {"copy", "copy.old", "copy.old/newer", "copy/earlier"}},
      {"the earlier one kept",
       [&] {
         put("out/copy.old/mine");
         EXPECT_EQ(publication_->keepEarlier(), "copy.old-2");
       },
       {"copy", "copy.old", "copy.old-2", "copy.old-2/earlier", "copy.old/mine", "copy/newer"}},
      {"the earlier one removed",
       [&] { publication_->giveUpEarlier(earlier_), publication_->removeEarlier(earlier_); },
       {"copy", "copy/newer"}},
  };
  for (const auto& row : rows) {
    for (const bool atOnce : {true, false}) {
      SCOPED_TRACE(std::string(row.title) + (atOnce ? ", at once" : ", in two steps"));
      begin(atOnce);
      exchange();
      EXPECT_EQ(read(in("out/copy/newer")), "newer");
      EXPECT_EQ(read(in("out/" + publication_->earlierName() + "/earlier")), "earlier");
      row.act();
      EXPECT_EQ(publication_->earlierName(), "");
      publication_.reset();
      EXPECT_EQ(tree("out"), row.left);
    }
  }
}

TEST_F(ExchangeTest, OneThatFailsLeavesTheEarlierFolder) {
  const Names before = {"copy", "copy/earlier"};
  for (const bool atOnce : {true, false}) {
    SCOPED_TRACE(atOnce ? "at once" : "in two steps");
    begin(atOnce);
    EXPECT_EQ(codeOf([&] { exchange({1, 1}); }), EEXIST) << "another folder than was looked at";
    publication_.reset();
    EXPECT_EQ(tree("out"), before);
    begin(atOnce);
    fs::rename(staging(), in("gone"));
    EXPECT_EQ(codeOf([&] { exchange(); }), ENOENT) << "in two steps, between them";
    EXPECT_EQ(tree("out/copy"), Names{"earlier"});
    fs::rename(in("gone"), staging());
    publication_.reset();
    EXPECT_EQ(tree("out"), before);
  }
}

// Whoever comes next finds by the lock what is left, and what somebody wrote to stays.
TEST_F(ExchangeTest, WhatCannotBeGivenBackIsLeftToTheNextOne) {
  for (const bool isWritten : {true, false}) {
    for (const bool atOnce : {true, false}) {
      SCOPED_TRACE(std::string(atOnce ? "at once" : "in two steps") + (isWritten ? ", written to" : ""));
      begin(atOnce);
      exchange();
      if (isWritten) put("out/" + publication_->earlierName() + "/mine");
      fs::rename(in("out/copy"), in("gone"));
      EXPECT_EQ(codeOf([&] { publication_->giveBack(); }), ENOENT);
      publication_.reset();
      fs::rename(in("gone"), in("out/copy"));
      EXPECT_EQ(Publication::removeAbandoned(parent_), isWritten ? Names{"copy.old"} : Names());
      EXPECT_EQ(tree("out/copy"), Names{"newer"});
      EXPECT_EQ(fs::exists(in("out/copy.old/mine")), isWritten);
      EXPECT_EQ(staging(), "");
      fs::remove_all(in("out/copy"));
    }
  }
}

}  // namespace folder_host
