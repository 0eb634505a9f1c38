#include "folder_host/share/WorkingCopy.h"

#include <algorithm>

#include "Fixture.h"
#include "folder_host/share/Risks.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

using fl::filesystem::path;
using Names = std::vector<std::string>;

std::shared_ptr<WorkingCopy> copyOf(const Names& names, const std::string& root = "/p") {
  return std::make_shared<WorkingCopy>(root, Store::inMemory(), listingOf(names));
}

Names namesOf(const WorkingCopy& copy, const std::vector<std::size_t>& entries) {
  Names names;
  for (const std::size_t entry : entries) names.push_back(copy.table()[entry].path);
  return names;
}

Names without(const Names& names, const Names& dropped) {
  Names left = namesOf(copyOf(names)->entries());
  for (const std::string& name : dropped) left.erase(std::remove(left.begin(), left.end(), name), left.end());
  return left;
}

}  // namespace

TEST(WorkingCopy, KnowsItsEntriesByTheTextsOfTheirPathsAndNoOthers) {
  for (const std::string root : {"/", "/p\xFF/q"}) {
    const auto copy = copyOf({"a/", "a/\xFF", "l>a", "\xC3\xA9/"}, root);
    auto& files = copy->getFileManager();
    EXPECT_EQ(files.getFiles(), at(*copy, Names{"a", "a/\xFF", "l", "\xC3\xA9"})) << root;
    EXPECT_EQ(fl::filesystem::detail::extract_parent_path(files.getFiles()[0].text()), files.getRootFolder().text());
    EXPECT_TRUE(files.isFolder(at(*copy, "a")));
    for (const char* name : {"a/\xFF", "l", "absent", "a/", "a/x/y", ""}) EXPECT_FALSE(files.isFolder(at(*copy, name)));
    const path sameBytes(files.getRootFolder().text() + u"/\xDCC3\xDCA9", true);
    EXPECT_FALSE(files.isFolder(sameBytes)) << "another text";
  }
}

// The suite for hosts tries what may be removed.
TEST(WorkingCopy, AFolderIsNotHeldBackWithoutTheFilesInIt) {
  const Names all = {"a/", "a-b", "a/x", "a/y/", "a/y/z", "b"};
  const auto copy = copyOf(all);
  const auto remove = [&](const Names& names) { return copy->getFileManager().removeFiles(at(*copy, names)); };
  for (const Names& removed : {Names{"a"}, Names{"a", "a/x", "b"}}) {
    EXPECT_EQ(refusalOf([&] { remove(removed); }), errors::SHARED_BELOW_HELD_BACK);
    EXPECT_EQ(remove({"c", "a/c", ""}), std::vector<path>());
    EXPECT_EQ(namesOf(copy->entries()), without(all, {}));
  }
  EXPECT_EQ(remove({"a/y/z", "a", "a/x"}), at(*copy, Names{"a", "a/x", "a/y", "a/y/z"}))
      << "and with the folders in it";
}

TEST(WorkingCopy, LinksAndEmptiedFoldersAreHeldBackByTheHostsRules) {
  const struct {
    const char* title;
    Names entries, removed, links, emptied;
  } rows[] = {
      {"a link to nothing", {"l>a", "m>.project/store.db", "n>"}, {}, {"l", "m", "n"}, {}},
      {"links to a link that is held back", {"a", "l>m", "m>n", "n>a"}, {"a"}, {"l", "m", "n"}, {}},
      {"a link over a linked folder", {"d/", "d/x", "l>d", "m>l/x", "n>l/../d/x", "o>l/y"}, {}, {"o"}, {}},
      {"links that lead out, or round", {"a", "l>/a", "m>../p/a", "n>o", "o>n"}, {}, {"l", "m", "n", "o"}, {}},
      {"a link over a file", {"a", "l>a/.", "m>a/../a", "n>a/"}, {}, {"l", "m", "n"}, {}},
      {"a folder that is emptied", {"a-b", "a/", "a/b/", "a/b/x"}, {"a/b/x"}, {}, {"a", "a/b"}},
      {"a folder that was empty", {"a/", "b/", "b/e/", "b/x", "l>a"}, {"b/x"}, {}, {}},
      {"a link to a folder that is emptied", {"a/", "a/x", "l>a", "m>a/../f", "f"}, {"a/x"}, {"l", "m"}, {"a"}},
      {"a folder emptied by its link", {"a/", "a/l>../x", "b/", "b/l>../a", "x"}, {"x"}, {"a/l", "b/l"}, {"a", "b"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    const auto copy = copyOf(row.entries);
    copy->getFileManager().removeFiles(at(*copy, row.removed));
    const HostRemovals removals = copy->applyHostRules();
    EXPECT_EQ(namesOf(*copy, removals.links), row.links);
    EXPECT_EQ(namesOf(*copy, removals.emptied), row.emptied);
    Names heldBack = row.removed;
    for (const Names& names : {row.links, row.emptied}) heldBack.insert(heldBack.end(), names.begin(), names.end());
    EXPECT_EQ(namesOf(copy->entries()), without(row.entries, heldBack));
  }
}

TEST(WorkingCopy, OfAScopeWhatLiesInItIsSharedAndALinkThatLeadsOutOfItIsNot) {
  const struct {
    const char* title;
    Names entries, removed, shared;
  } rows[] = {
      {"its neighbours by name", {"d-x", "d.x", "d/", "d/a", "dx"}, {}, {"d/a"}},
      {"links within it",
       {"d/", "d/a", "d/e/", "d/e/l>../a", "d/m>e/l", "d/n>."},
       {},
       {"d/a", "d/e", "d/e/l", "d/m", "d/n"}},
      {"links out of it, and in again",
       {"a", "d/", "d/b", "d/l>../a", "d/m>../d/b", "d/n>o", "d/o>..", "l>d/b"},
       {},
       {"d/b"}},
      {"a folder emptied by such a link", {"a", "d/", "d/b", "d/e/", "d/e/l>../../a"}, {}, {"d/b"}},
      {"itself held back", {"d/", "d/a"}, {"d", "d/a"}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    const auto copy = copyOf(row.entries);
    copy->getFileManager().removeFiles(at(*copy, row.removed));
    copy->applyHostRules();
    copy->setScope(copy->table().find("d").value());
    copy->narrowToScope();
    EXPECT_EQ(namesOf(copy->entries()), row.shared);
  }
}

TEST(Risks, LabelsOnMissingPathsAreFoundInTheOrderOfATree) {
  const auto copy = copyOf({"b"});
  LabelStore& labels = copy->getLabelManager();
  labels.attach(labels.create(u"Access", u"Secret").uuid, {"a/x", "a-b", "a", "b"}, MarkKind::entry);
  Names found;
  for (const auto& lost : copy->followed().lost()) found.push_back(lost.path);
  EXPECT_EQ(found, (Names{"a", "a/x", "a-b"}));
}

TEST(Risks, AreToldOfWhatIsShared) {
  const std::string accented = "\xC3\xA9";     // one character
  const std::string decomposed = "E\xCC\x81";  // the letter and its accent, in upper case
  const struct {
    Names entries, removed, expected;
  } rows[] = {
      {{"a/", "a/.project/", "a/.project/x", "b/", "b/.project>x"},
       {},
       {"nested-project a/.project", "nested-project b/.project"}},
      {{"a/", "a/.project/", "a/.project/x"}, {"a", "a/.project", "a/.project/x"}, {}},
      {{"a/", "a/.Project/"}, {}, {"nested-project a/.Project"}},
      {{"Readme", "README", "readme.txt"}, {}, {"names-collide README"}},
      {{"A/", "A/x", "a/", "a/x", "a/X"}, {}, {"names-collide A", "names-collide a/X"}},
      {{accented, decomposed}, {}, {"names-collide " + decomposed}},
      {{"stra\303\237e", "STRASSE"}, {}, {"names-collide STRASSE"}},
      {{"\377a", "\377A"}, {}, {}},
      {{"\xFF/", "\xFF/a", "\xFF/A"}, {}, {"names-collide \xFF/A"}},
      {{".Project/"}, {}, {"names-collide .Project"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.entries.front());
    const auto copy = copyOf(row.entries);
    copy->getFileManager().removeFiles(at(*copy, row.removed));
    Names told;
    for (const Risk& one : risksAmong(*copy)) told.push_back(std::string(one.identifier) + " " + one.path);
    EXPECT_EQ(told, row.expected);
  }
}

}  // namespace folder_host
