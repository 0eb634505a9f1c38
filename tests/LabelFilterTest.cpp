#include "project/sharing/profiles/LabelFilter.h"

#include <gtest/gtest.h>

#include "PlainFilters.h"
#include "Samples.h"

namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;
using memory_host::Probe;
using samples::Calls;
using samples::Items;

// Two categories with labels, one without. c2/kept may not be removed; any number but 0 says that a label may.
void fill(MemoryProject& project) {
  project.addLabel(u"c1", u"x", -1);
  project.addLabel(u"c1", u"y");
  project.categories.insert(u"c1 empty");
  project.addLabel(u"c2", u"kept", 0);
  project.addLabel(u"c2", u"x", 2);
}

std::string left(const MemoryProject& labels) {
  std::string result;
  for (const auto& category : labels.getCategories()) {
    result += memory_host::narrow(category.toString()) + ":";
    for (const auto& label : labels.getLabels(category)) result += " " + memory_host::narrow(label.getUUID());
    result += ";";
  }
  return result;
}

TEST(LabelFilter, RemovesWhatKindAndItemsSelectAndNothingMoreTheSecondTime) {
  struct Row {
    const char* name;
    std::u16string kind;
    Items items;
    std::string left;
  };
  const Row rows[] = {
      {"exclude one", EXCLUDE_LABEL, {{u"c1", u"x"}}, "c1: y;c1 empty:;c2: kept x;"},
      {"exclude a whole category", EXCLUDE_LABEL, {{u"c1", u"x"}, {u"c1", u"y"}}, "c1 empty:;c2: kept x;"},
      {"exclude what is not there", EXCLUDE_LABEL, {{u"c1", u"z"}, {u"c3", u"x"}}, "c1: x y;c1 empty:;c2: kept x;"},
      {"exclude what may not go", EXCLUDE_LABEL, {{u"c2", u"kept"}, {u"c2", u"x"}}, "c1: x y;c1 empty:;c2: kept;"},
      {"exclude nothing", EXCLUDE_LABEL, {}, "c1: x y;c1 empty:;c2: kept x;"},
      {"include one", INCLUDE_LABEL, {{u"c1", u"x"}}, "c1: x;c1 empty:;c2: kept;"},
      {"include what is not there", INCLUDE_LABEL, {{u"c3", u"x"}}, "c1 empty:;c2: kept;"},
      {"include nothing", INCLUDE_LABEL, {}, "c1: x y;c1 empty:;c2: kept x;"},
      {"a kind of no label filter", EXCLUDE_FILES_WITH_LABEL, {{u"c1", u"x"}}, "c1: x;c1 empty:;c2: kept;"},
      {"no kind", u"", {{u"c1", u"x"}}, "c1: x;c1 empty:;c2: kept;"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    MemoryProject host;
    fill(host);
    MemoryProject twin = host;
    Probe expected;
    plain::applyLabelFilter(row.kind, row.items, *memory_host::probed(twin, expected));
    LabelFilter filter(row.kind);
    filter.addItems(row.items);
    Probe probe;
    filter.apply(*memory_host::probed(host, probe));
    EXPECT_EQ(probe.calls(), expected.calls());
    filter.apply(host);
    EXPECT_EQ(left(host), row.left);
  }
}

// Answers of its own, unsorted and with a double, and a list of when it was asked.
class OwnAnswers final : public LabelFilter {
 public:
  explicit OwnAnswers(Probe& probe) : LabelFilter(INCLUDE_LABEL), probe_(probe) {}

  std::u16string getType() const override {
    probe_.call("getType");
    return EXCLUDE_LABEL;
  }
  std::vector<ExportStrategyItem> getItems() const override {
    probe_.call("getItems");
    return {{u"c2", u"x"}, {u"c1", u"y"}, {u"c2", u"x"}};
  }

 private:
  Probe& probe_;
};

TEST(LabelFilter, AsksItselfThroughItsVirtualOperations) {
  MemoryProject host;
  fill(host);
  Probe probe;
  OwnAnswers(probe).apply(*memory_host::probed(host, probe));
  EXPECT_EQ(probe.calls(),
            (Calls{"getItems", "getLabelManager", "getCategories", "getLabels c1", "getLabels c1 empty", "getLabels c2",
                   "getType", "removeLabel c1/y false", "getLabels c1", "removeLabel c2/x false", "getLabels c2"}));
}

}  // namespace
