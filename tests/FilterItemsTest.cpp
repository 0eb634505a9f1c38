#include <gtest/gtest.h>

#include "Samples.h"
#include "project/sharing/profiles/ExportFilterBase.h"

namespace {

using namespace project::sharing::profiles;
using samples::Items;

const ExportStrategyItem A1{u"a", u"1"}, B2{u"b", u"2"}, C3{u"c", u"3"}, Z9{u"z", u"9"};

TEST(StrategyItem, OrderIsByCategoryThenUuidInCodeUnits) {
  const Items ascending{{},           {u"", u"z"},   {u"A", u"a"},         {u"B", u"x"},    {u"a", u""},
                        {u"a", u"x"}, {u"a", u"y"},  {u"a", u"z"},         {u"b", u"a"},    {u"c", u"x"},
                        {u"c2", u""}, {u"c2", u"x"}, {u"\U0001F600", u""}, {u"\uE000", u""}};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      SCOPED_TRACE(testing::Message() << i << " and " << j);
      EXPECT_EQ(ascending[i] < ascending[j], i < j);
      EXPECT_EQ(ascending[i] == ascending[j], i == j);
    }
  }
}

TEST(FilterItems, StaySortedAndSingleAndRemovingAnAbsentItemTakesTheLastOne) {
  constexpr auto add = &ExportFilterBase::addItems;
  constexpr auto remove = &ExportFilterBase::removeItems;
  const struct {
    const char* name;
    decltype(add) change;
    Items before, given, after;
  } rows[] = {{"add unsorted with a double", add, {}, {B2, A1, B2}, {A1, B2}},
              {"add one that is there", add, {A1}, {A1}, {A1}},
              {"add none", add, {A1, B2}, {}, {A1, B2}},
              {"add none to none", add, {}, {}, {}},
              {"add between", add, {A1, C3}, {B2}, {A1, B2, C3}},
              {"remove one", remove, {A1, B2}, {A1}, {B2}},
              {"remove an absent one", remove, {A1, B2}, {Z9}, {A1}},
              {"remove the same twice", remove, {A1, B2, C3}, {A1, A1}, {B2}},
              {"remove from another category", remove, {A1, B2}, {{u"b", u"1"}}, {A1}},
              {"remove more than there are", remove, {A1}, {Z9, Z9, Z9}, {}},
              {"remove from none", remove, {}, {A1}, {}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ExportFilterBase filter(u"any");
    filter.addItems(row.before);
    (filter.*row.change)(row.given);
    EXPECT_EQ(filter.getItems(), row.after);
  }
}

TEST(FilterItems, AnyTextIsAKindAndTheBaseAppliedAsksTheHostNothing) {
  memory_host::MemoryProject host;
  memory_host::Probe probe;
  ExportFilterBase filter(EXCLUDE_LABEL);
  filter.addItems({A1});
  filter.setType(u"no kind at all");
  filter.apply(*memory_host::probed(host, probe));
  EXPECT_TRUE(probe.calls().empty());
  EXPECT_EQ(filter.getType(), u"no kind at all");
  EXPECT_EQ(filter.getItems(), Items{A1});
}

}  // namespace
