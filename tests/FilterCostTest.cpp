#include "AllocationFault.h"
#include "Floor.h"
#include "Samples.h"
#include "TableHost.h"

// What a filter costs beside the calls that it has to make.
namespace {

using bench::Floor;
using bench::Shape;
using bench::TableHost;
using memory_host::Probe;
using namespace project::sharing::profiles;

class FilterCost : public testing::TestWithParam<std::u16string> {
 protected:
  static Shape shapeOf(std::size_t entries, std::size_t items, bool deep) {
    return {GetParam(), entries, items, 2, deep};
  }

  // Allocations of `apply` beyond those of the host's answers.
  static std::size_t ownAllocations(const Shape& shape, TableHost& host, Floor& floor, std::size_t moreItems) {
    auto items = bench::itemsUpTo(shape.items);
    constexpr std::size_t ABSENT = 500000000;  // labels of no project
    for (std::size_t i = 0; i < moreItems; ++i) items.push_back(bench::itemOf(ABSENT + i));
    const auto filter = samples::filterOf(shape.kind, items);
    const std::size_t all = allocationsOf([&] { filter->apply(host); });
    return all - allocationsOf([&] { floor.call(); });
  }
};

TEST_P(FilterCost, IsMeasuredAgainstACallSequenceThatIsItsOwn) {
  for (const auto& [deep, itemCount] : {std::pair(false, 20U), std::pair(true, 150U)}) {
    const Shape shape = shapeOf(200, itemCount, deep);
    TableHost host(shape);
    Probe ofFloor;
    const auto watched = memory_host::probed(host, ofFloor);
    Floor floor(shape.kind, bench::itemsUpTo(shape.items), *watched);
    ofFloor.clear();
    floor.call();
    Probe ofFilter;
    samples::filterOf(shape.kind, bench::itemsUpTo(shape.items))->apply(*memory_host::probed(host, ofFilter));
    EXPECT_GT(floor.removals(), 0U);
    EXPECT_EQ(ofFilter.calls(), ofFloor.calls());
  }
}

// One for each folder and for each doubling of a list; of a label nothing is allocated that the host did not give.
TEST_P(FilterCost, InAllocationsGrowsWithTheFoldersNotWithTheComparisons) {
  for (const bool deep : {false, true}) {
    const auto own = [&](std::size_t entries, std::size_t moreItems, std::size_t& folders) {
      const Shape shape = shapeOf(entries, 20, deep);
      TableHost host(shape);
      Floor floor(shape.kind, bench::itemsUpTo(shape.items), host);
      folders = floor.folders();
      return ownAllocations(shape, host, floor, moreItems);
    };
    std::size_t few = 0;
    std::size_t many = 0;
    const std::size_t once = own(1000, 0, few);
    const std::size_t twice = own(2000, 0, many);
    constexpr std::size_t DOUBLINGS = 4;
    EXPECT_EQ(many > few, GetParam() == EXCLUDE_FILES_WITH_LABEL || GetParam() == INCLUDE_FILES_WITH_LABEL);
    EXPECT_LE(twice - once, 2 * (many - few) + DOUBLINGS);
    const std::size_t withItems = own(1000, 1980, few);
    const std::size_t twiceWithItems = own(2000, 1980, many);
    EXPECT_EQ(twiceWithItems - withItems, twice - once);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, FilterCost,
                         testing::Values(EXCLUDE_FILES_WITH_LABEL, INCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL,
                                         INCLUDE_LABEL),
                         [](const testing::TestParamInfo<std::u16string>& row) {
                           return memory_host::narrow(row.param);
                         });

}  // namespace
