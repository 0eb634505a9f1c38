#include "Shared.h"
#include "judgement/Digest.h"

namespace project_share {

namespace {

namespace fs = std::filesystem;

class DigestTest : public SharedProject {
 protected:
  std::string digest(const std::string& folder = "p") const {
    return digestOf(judged("public", {}, folder).judgement, {});
  }
};

TEST_F(DigestTest, WhateverChangesAJudgementChangesItsDigest) {
  type("label create z/none");
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"size", [&] { put("p/open", "longer"), setTime("p/open", 1, 5); }},
      {"nanoseconds", [&] { setTime("p/open", 1, 6); }},
      {"seconds", [&] { setTime("p/open", 2, 6); }},
      {"mode", [&] { fs::permissions(in("p/open"), fs::perms::owner_all); }},
      {"mode of a folder", [&] { fs::permissions(in("p/sub"), fs::perms::owner_all); }},
      {"target", [&] { fs::remove(in("p/link")), fs::create_symlink("sub", in("p/link")); }},
      {"kind", [&] { fs::remove(in("p/link")), put("p/link", ""); }},
      {"name", [&] { fs::rename(in("p/sub/deep"), in("p/sub/deeper")); }},
      {"one more", [&] { put("p/sub/more"); }},
      {"one more that is held back", [&] { put("p/drafts/more"); }},
      {"a label attached", [&] { type("label attach none link"); }},
      {"the same number of each label", [&] { type("label detach none link"), type("label attach none open"); }},
      {"a label that leaves is renamed", [&] { type("label rename out away"); }},
      {"a label that leaves is protected", [&] { type("label protect away"); }},
      {"one more filter", [&] { type("profile add-filter public drop-files none"); }},
      {"by one more label", [&] { type("label attach none drafts/secret"); }},
      {"a risk", [&] { put("p/open~", "backup"), put("p/drafts/secret~", "backup"), setTime("p/open~", 1, 5); }},
      {"held back by another filter", [&] { type("label attach none drafts"), type("label detach in drafts"); }},
  };
  std::set<std::string> digests{digest()};
  for (const auto& [what, change] : rows) {
    change();
    EXPECT_TRUE(digests.insert(digest()).second) << what;
  }
}

TEST_F(DigestTest, WhatIsAskedForIsPartOfIt) {
  type("profile duplicate public twin");
  std::set<std::string> digests;
  for (const char* profile : {"public", "twin"}) {
    for (const char* from : {"", "sub"}) {
      for (const std::set<std::string>& allowed :
           {std::set<std::string>{}, {"leftover"}, {"leftover=a"}, {"leftover", "nothing-shared"}}) {
        EXPECT_TRUE(digests.insert(digestOf(judged(profile, from).judgement, allowed)).second) << profile << from;
      }
    }
  }
}

TEST_F(DigestTest, WhatChangesNothingThatIsToldLeavesItAsItIs) {
  const std::string before = digest();
  ASSERT_EQ(before.size(), 64U);
  type("label create a/before");  // sorts before the others, and nothing has it
  EXPECT_EQ(digest(), before);
  put("p/drafts/secret", "another secret");
  EXPECT_EQ(digest(), before) << "the content of what is held back";
  // The same in a folder of another name, whose entries were made in another order.
  fs::create_directory(in("q"));
  for (const char* name : {"sub", "open", "link", "drafts", ".project"}) {
    fs::copy(in("p") + "/" + name, in("q") + "/" + name, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  }
  for (const char* file : {"q/drafts/secret", "q/open", "q/sub/deep"}) setTime(file, 1, 5);
  EXPECT_EQ(digest("q"), before);
}

}  // namespace

}  // namespace project_share
