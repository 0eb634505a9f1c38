#include "folder_host/share/Traces.h"
#include "folder_host/share/read/FirstBytes.h"

#include <algorithm>
#include <memory>

#include "Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/share/Twins.h"
#include "folder_host/text/SideNames.h"

namespace folder_host {

namespace {

// Whether the leftover may be one of the original, or of the original whose ending it lacks.
bool leadsTo(const std::string& leftover, const std::string& original, bool isStem = false) {
  const std::vector<Original> all = originalsOf(leftover);
  return std::any_of(all.begin(), all.end(),
                     [&](const Original& one) { return one.name == original && one.isStem == isStem; });
}

class TwinsTest : public FolderTest {
 protected:
  // "shared: held back" of names, as they are listed; a "?" before them where content could not be read.
  std::vector<std::string> twins(const std::vector<std::string>& heldBack) const {
    const EntryTable table(std::make_shared<const Listing>(listFolder(folder_)));
    Selection shared(table.size(), true), held(table.size());
    for (const std::string& name : heldBack) held[table.find(name).value()] = true;
    for (std::size_t i = 0; i < table.size(); ++i) shared[i] = !held[i];
    if (afterListing) afterListing();
    const auto names = [&](const std::vector<std::size_t>& entries) {
      std::string all;
      for (const std::size_t entry : entries) all += (all.empty() ? "" : " ") + table[entry].path;
      return all;
    };
    std::vector<std::string> told;
    for (const Twins& one : twinsAmong(folder_, table, shared, held)) {
      told.push_back((one.digest.empty() ? "?" : "") + names(one.shared) + ": " + names(one.heldBack));
    }
    return told;
  }

  std::function<void()> afterListing;
};

}  // namespace

TEST(SideNames, LeadToWhatTheyMayBeLeftOf) {
  const std::pair<const char*, const char*> rows[] = {
      {".x.txt.swp", "x.txt"},        {"X.TXT~", "x.txt"},          {"~$x.doc", "x.doc"},
      {".~x.txt", "x.txt"},           {"%home%x%", "home%x"},       {"x.txt.un~", "x.txt"},
      {"x.blend1", "x.blend"},        {"x.txt.sb-1f-Ab", "x.txt"},  {"x - copy (2).txt", "x.txt"},
      {"x copy 2.txt", "x.txt"},      {"x-autosave.kra", "x.kra"},  {"x.sync-conflict-1-A.txt", "x.txt"},
      {"x.txt (copy)", "x.txt"},      {"x.txt.dpkg-old", "x.txt"},  {"x.txt___jb_tmp___", "x.txt"},
      {".x.txt.bak~", "x.txt"},       {"backup of x.wbk", "x.wbk"}, {"x (a's conflicted copy 1).txt", "x.txt"},
      {"x\xCC\x81.bak", "x\xCC\x81"},
  };
  for (const auto& [leftover, original] : rows) EXPECT_TRUE(leadsTo(leftover, original)) << leftover;
  for (const char* other : {"x.bak", "x.zip", ".x.old", "x.BAK~"}) EXPECT_TRUE(leadsTo(other, "x", true)) << other;
  for (const char* none : {"", "x", "x.txt", "~", "#", "##", ".#", ".bak", "x.sw", "x (y).txt", "(1)", "x.1", "x2.txt",
                           "copy", "swp", "x.swift", "x~y", "-old", "\xFF"}) {
    for (const Original& one : originalsOf(none)) EXPECT_EQ(one.name, "") << none;
  }
}

TEST(SideNames, AreLookedThroughToABound) {
  for (const std::string mark : {"~", ".bak", "_old", " copy"}) {
    std::string name = "x";
    while (name.size() + mark.size() <= 255) name += mark;
    EXPECT_LE(originalsOf(name).size(), 100U) << mark;
    EXPECT_FALSE(isHistory(name)) << mark;
  }
}

TEST(Traces, FirstBytesTellStoresAndReceiptsAlone) {
  const std::string database("SQLite format 3\0", 16);
  for (const char* other :
       {"", "{}", "{\"receipts\": 1}", "{\"a\": 1, \"receipt\": 1}", "\"receipt\":", "{\"receipt\""})
    EXPECT_FALSE(firstBytesTell(other)) << other;
  EXPECT_FALSE(firstBytesTell(database));
  EXPECT_FALSE(firstBytesTell(database + std::string(144, '\0')));
  for (const char* receipt :
       {"{\"receipt\":1", "\xEF\xBB\xBF\r\n {\n\t\"receipt\" : 1", "{\"allowed\": [], \"destination\": \"/x\"",
        "{\"Project-share export\":1",
        "\xEF\xBB\xBF\n{\r\"Project-share export\" :", "<<<<<<< HEAD\n{\n  \"Project-share export\": 1"})
    EXPECT_TRUE(firstBytesTell(receipt)) << receipt;
}

TEST_F(TwinsTest, AreEqualToTheirLastByte) {
  const std::string block(4096, 'b');
  for (const char* name : {"held", "same"}) put(name, block + "end");
  put("other", block + "eNd");
  put("block", block), put("blocks", block);
  put("empty", ""), put("void", "");
  put("d/same", block + "end");
  std::filesystem::create_hard_link(in("held"), in("z"));
  EXPECT_EQ(twins({"held", "block", "empty"}), (std::vector<std::string>{"blocks: block", "d/same same z: held"}));
  EXPECT_EQ(twins({"held", "d/same", "same", "z", "block", "blocks"}), std::vector<std::string>());
}

TEST_F(TwinsTest, AreTakenForSuchWhereWhatIsHeldBackCannotBeRead) {
  put("held", "secret"), put("size", "foobar"), put("longer", "foobars");
  afterListing = [this] {
    std::filesystem::remove(in("held"));
    put("new", "secret");
  };
  EXPECT_EQ(twins({"held"}), std::vector<std::string>{"?size: held"});
}

}  // namespace folder_host
