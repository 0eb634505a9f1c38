#include "folder_host/Hazards.h"

#include <memory>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Store.h"

namespace folder_host {

namespace {

using Names = std::vector<std::string>;

std::shared_ptr<WorkingCopy> copyOf(const Names& names) {
  return std::make_shared<WorkingCopy>("/p", Store::inMemory(), listingOf(names));
}

// "identifier path" each.
Names told(const std::vector<Hazard>& hazards) {
  Names lines;
  for (const Hazard& hazard : hazards) lines.push_back(std::string(hazard.identifier) + " " + hazard.path);
  return lines;
}

}  // namespace

TEST(HazardsTest, AreToldOfWhatIsLeft) {
  const std::string accented = "\xC3\xA9";     // one character
  const std::string decomposed = "E\xCC\x81";  // the letter and its accent, in upper case
  const struct {
    Names entries;
    Names removed;
    Names expected;
  } rows[] = {
      {{"a", "b/", "b/c", "l>a"}, {}, {}},
      {{"a/", "a/.project/", "a/.project/x", "b/", "b/.project>x"},
       {},
       {"nested-project a/.project", "nested-project b/.project"}},
      {{"a/", "a/.project/", "a/.project/x"}, {"a", "a/.project", "a/.project/x"}, {}},
      {{"a/", "a/.project"}, {}, {}},
      {{"a", "b=a", "c"}, {}, {}},
      {{"a", "b=a", "c"}, {"a"}, {"content-under-two-names a"}},
      {{"a", "b=a", "c=a"}, {"a", "b"}, {"content-under-two-names a", "content-under-two-names b"}},
      {{"a", "b=a", "c"}, {"a", "b"}, {}},
      {{"Readme", "README", "readme.txt"}, {}, {"names-collide README"}},
      {{"Readme", "README"}, {"README"}, {}},
      {{"A/", "A/x", "a/", "a/x", "a/X"}, {}, {"names-collide A", "names-collide a/X"}},
      {{accented, decomposed}, {}, {"names-collide " + decomposed}},
      {{"stra\303\237e", "STRASSE"}, {}, {"names-collide STRASSE"}},
      {{"\377a", "\377A"}, {}, {}},
      {{"\xFF/", "\xFF/a", "\xFF/A"}, {}, {"names-collide \xFF/A"}},
      {{".Project/"}, {}, {"names-collide .Project"}},
      {{"a/", "a/.Project"}, {}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.entries.front());
    const auto copy = copyOf(row.entries);
    copy->getFileManager().removeFiles(at(*copy, row.removed));
    EXPECT_EQ(told(hazardsAmongLeft(*copy)), row.expected);
  }
}

TEST(HazardsTest, ALabelOnAPathWithoutAnEntryIsNamed) {
  const auto copy = copyOf({"a", "b/"});
  LabelStore& labels = copy->getLabelManager();
  const LabelRecord label = labels.create(u"c", u"n");
  labels.attach(label.uuid, {"a", "b", "b/gone", "A"});
  EXPECT_EQ(told(danglingLabels(*copy)), (Names{"label-on-gone-path A", "label-on-gone-path b/gone"}));
}

}  // namespace folder_host
