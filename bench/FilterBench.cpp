// The filters beside the floor (the host calls that they have to make), beside themselves with a hundred times the
// items, beside their rules in plainest form, and over names that collide beside names that do not.
#include <map>
#include <memory>

#include "Floor.h"
#include "InTurns.h"
#include "Suite.h"
#include "TableHost.h"
#include "memory_host/MemoryHost.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace bench {

namespace {

using namespace project::sharing::profiles;

struct FilterKind {
  const char* name;
  const std::u16string& text;
  bool ofFiles;
};

const FilterKind filterKinds[] = {{"keep-files", INCLUDE_FILES_WITH_LABEL, true},
                                  {"drop-files", EXCLUDE_FILES_WITH_LABEL, true},
                                  {"keep-labels", INCLUDE_LABEL, false},
                                  {"drop-labels", EXCLUDE_LABEL, false}};

std::shared_ptr<ExportFilter> filterOf(const std::u16string& kind, const plain::Items& items) {
  const auto manager = createManager(std::make_shared<memory_host::MemoryMetadata>());
  return manager->createProfile(u"benchmark")->addFilter(kind, items);
}

// A shape with all that is made for it.
struct Case {
  explicit Case(const Shape& shape)
      : host(shape),
        items(itemsUpTo(shape.items)),
        filter(filterOf(shape.kind, items)),
        floor(shape.kind, items, host) {}

  TableHost host;
  plain::Items items;
  std::shared_ptr<ExportFilter> filter;
  Floor floor;
};

// Kept for the repetitions that follow; the last one alone, as some are large.
Case& caseOf(const std::string& name, const Shape& shape) {
  static std::map<std::string, Case> cases;
  if (cases.count(name) == 0) cases.clear();
  return cases.try_emplace(name, shape).first->second;
}

std::string nameOf(const char* what, const FilterKind& kind, const Shape& shape) {
  return std::string(what) + "/" + kind.name + "/" +
         (!kind.ofFiles ? "-"
          : shape.deep  ? "deep"
                        : "flat") +
         "/" + std::to_string(shape.entries) + "/" + std::to_string(shape.items) + "/" + std::to_string(shape.labels);
}

std::size_t runsOf(const Shape& shape) { return 100000 / shape.entries; }

void addBesideFloor(const Suite& suite, const FilterKind& kind, const Shape& shape) {
  const std::string name = nameOf("floor", kind, shape);
  suite.add(name, runsOf(shape), [=](benchmark::State& state) {
    Case& one = caseOf(name, shape);
    inTurns(
        state, [&] { one.floor.call(); }, [&] { one.filter->apply(one.host); });
  });
}

// The project is that of the short list; what the long one names besides hangs on nothing.
void addBesideFewerItems(const Suite& suite, const FilterKind& kind, const Shape& shape) {
  const std::string name = nameOf("items", kind, shape);
  suite.add(name, runsOf(shape), [=](benchmark::State& state) {
    Case& one = caseOf(name, shape);
    plain::Items many = one.items;
    constexpr std::size_t ABSENT = 500000000;  // labels of no project
    for (std::size_t i = 0; i < 99 * shape.items; ++i) many.push_back(itemOf(ABSENT + i));
    const auto filter = filterOf(shape.kind, many);
    inTurns(
        state, [&] { one.filter->apply(one.host); }, [&] { filter->apply(one.host); });
  });
}

void addCollidingBesideLongNames(const Suite& suite, const FilterKind& kind, Shape shape) {
  const std::string name = nameOf("names", kind, shape);
  suite.add(name, 1, [=](benchmark::State& state) mutable {
    shape.names = Shape::Names::COLLIDING;
    Case& one = caseOf(name, shape);
    shape.names = Shape::Names::LONG;
    TableHost other(shape);
    inTurns(
        state, [&] { one.filter->apply(other); }, [&] { one.filter->apply(one.host); });
  });
}

void addPlainBeside(const Suite& suite, const FilterKind& kind, const Shape& shape) {
  const std::string name = nameOf("plain", kind, shape);
  suite.add(name, runsOf(shape) / 100, [=](benchmark::State& state) {
    Case& one = caseOf(name, shape);
    const auto plainly = [&] {
      (kind.ofFiles ? plain::applyFileFilter : plain::applyLabelFilter)(shape.kind, one.items, one.host);
    };
    inTurns(
        state, [&] { one.filter->apply(one.host); }, plainly);
  });
}

void addFileShapes(const Suite& suite, const FilterKind& kind, bool deep) {
  const std::size_t usual = suite.isShort() ? 1000 : 100000;
  for (const std::size_t labels : {0U, 1U, 2U, 5U}) {
    for (const std::size_t items : {10U, 1000U, 10000U}) {
      addBesideFloor(suite, kind, {kind.text, usual, items, labels, deep});
    }
  }
  if (suite.isShort()) return;
  for (const std::size_t entries : {1000U, 10000U, 1000000U}) {
    for (const std::size_t items : {10U, 10000U}) addBesideFloor(suite, kind, {kind.text, entries, items, 2U, deep});
  }
}

void addLabelShapes(const Suite& suite, const FilterKind& kind) {
  for (const std::size_t labels : {1000U, 10000U, 100000U, 1000000U}) {
    for (const std::size_t items : {10U, 1000U, 10000U})
      addBesideFloor(suite, kind, {kind.text, labels, items, 0U, false});
    if (suite.isShort()) return;
  }
}

}  // namespace

void addFilters(const Suite& suite) {
  for (const FilterKind& kind : filterKinds) {
    for (const bool deep : {false, true}) {
      if (kind.ofFiles) addFileShapes(suite, kind, deep);
    }
    if (!kind.ofFiles) addLabelShapes(suite, kind);
    if (kind.ofFiles) addCollidingBesideLongNames(suite, kind, {kind.text, suite.isShort() ? 1000U : 327680U, 10U, 2U});
    for (const std::size_t items : {10U, 100U}) {
      addBesideFewerItems(suite, kind, {kind.text, suite.isShort() ? 1000U : 100000U, items, kind.ofFiles ? 2U : 0U});
    }
    for (const std::size_t entries : {1000U, 10000U}) {
      addPlainBeside(suite, kind, {kind.text, suite.isShort() ? entries / 10 : entries, 100, kind.ofFiles ? 2U : 0U});
    }
  }
}

}  // namespace bench
