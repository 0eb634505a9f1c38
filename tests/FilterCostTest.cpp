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

  struct Cost {
    std::size_t allocations;  // of `apply`, beyond those of the host's answers
    std::size_t folders;
  };
  static Cost costOf(const Shape& shape, std::size_t moreItems) {
    TableHost host(shape);
    Floor floor(shape.kind, bench::itemsUpTo(shape.items), host);
    auto items = bench::itemsUpTo(shape.items);
    constexpr std::size_t ABSENT = 500000000;  // labels of no project
    for (std::size_t i = 0; i < moreItems; ++i) items.push_back(bench::itemOf(ABSENT + i));
    const auto filter = samples::filterOf(shape.kind, items);
    const std::size_t all = allocationsOf([&] { filter->apply(host); });
    return {all - allocationsOf([&] { floor.call(); }), floor.folders()};
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
    const Shape once = shapeOf(1000, 20, deep), twice = shapeOf(2000, 20, deep);
    const Cost few = costOf(once, 0), many = costOf(twice, 0);
    constexpr std::size_t DOUBLINGS = 4, ITEMS = 1980;
    EXPECT_EQ(many.folders > few.folders,
              GetParam() == EXCLUDE_FILES_WITH_LABEL || GetParam() == INCLUDE_FILES_WITH_LABEL);
    const std::size_t more = many.allocations - few.allocations;
    EXPECT_LE(more, 2 * (many.folders - few.folders) + DOUBLINGS);
    EXPECT_EQ(costOf(twice, ITEMS).allocations - costOf(once, ITEMS).allocations, more);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, FilterCost,
                         testing::Values(EXCLUDE_FILES_WITH_LABEL, INCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL,
                                         INCLUDE_LABEL),
                         [](const testing::TestParamInfo<std::u16string>& row) {
                           return memory_host::narrow(row.param);
                         });

}  // namespace
