#include <algorithm>
#include <iterator>

#include "AllocationFault.h"
#include "Operations.h"
#include "folder_host/share/WorkingCopy.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

// Every operation, broken at every host call and at every allocation.
namespace {

using folder_host::toBlob;
using folder_host::WorkingCopy;
using memory_host::MemoryMetadata;
using memory_host::MemoryProject;
using operations::Lines;
using operations::Operation;
using operations::World;
using project::management::ProjectManager;

struct HostFault {};

// One of the hosts that there are, with the sample project.
struct HostKind {
  const char* name;
  bool isFolder;  // undoes what is written in a scope that an exception ends, and removes a folder with what lies in it
  // Independent of what it was made of, whose entries lie in /p, sorted by their bytes, and whose labels have UUIDs of
  // their own.
  std::shared_ptr<ProjectManager> (*make)(MemoryProject& project);
  std::shared_ptr<ProjectManager> (*copy)(ProjectManager& project);
};

std::shared_ptr<ProjectManager> copyInMemory(ProjectManager& project) {
  const auto copy = std::make_shared<MemoryProject>(dynamic_cast<MemoryProject&>(project));
  copy->metadata = std::make_shared<MemoryMetadata>(dynamic_cast<MemoryMetadata&>(*copy->metadata));
  return copy;
}

std::shared_ptr<ProjectManager> makeFolder(MemoryProject& project) {
  const auto store = folder_host::Store::inMemory();
  for (const auto& category : project.categories) store->run("INSERT INTO category VALUES(?, '')", {toBlob(category)});
  for (const auto& [label, isRemovable] : project.labels) {
    store->run("INSERT INTO label VALUES(?, ?, '', CAST(? AS INTEGER))",
               {toBlob(label.second), toBlob(label.first), isRemovable == 0 ? "1" : "0"});
  }
  folder_host::Listing listing;
  for (const auto& [name, isFolder, labels] : project.entries) {
    const std::string path = folder_host::toBytes(name.text().substr(3));
    using Kind = folder_host::EntryKind;
    listing.entries.push_back({path, isFolder ? Kind::folder : Kind::file, {}});
    for (const auto& label : labels) store->run("INSERT INTO mark VALUES(?, ?, 0)", {path, toBlob(label.second)});
  }
  const auto folder =
      std::make_shared<WorkingCopy>("/p", store, std::make_shared<const folder_host::Listing>(std::move(listing)));
  for (const auto& [path, node] : project.metadata->nodes) {
    folder->getMetadataManager()->setNodes(
        {{path, std::make_shared<project::metadata::MetadataNodeSpecification>(node)}});
  }
  return folder;
}

const HostKind memoryHost{"memory_host", false, [](MemoryProject& project) { return copyInMemory(project); },
                          copyInMemory};
const HostKind folderHost{"folder_host", true, makeFolder, [](ProjectManager& project) {
                            return std::shared_ptr<ProjectManager>(dynamic_cast<WorkingCopy&>(project).clone());
                          }};

// Sanitizers take too long for every point, which other builds break.
constexpr std::size_t hostStride = SLOWDOWN > 1 ? 3 : 1, memoryStride = SLOWDOWN;

Lines sorted(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  std::sort(lines.begin(), lines.end());
  return lines;
}

Lines stateOf(const World& world) { return sorted(storedIn(world), othersIn(world)); }

std::string changesOf(const Lines& old, const Lines& now) {
  std::string changes;
  const auto tell = [&](const char* sign, const Lines& some, const Lines& others) {
    Lines rest;
    std::set_difference(some.begin(), some.end(), others.begin(), others.end(), std::back_inserter(rest));
    for (const auto& line : rest) changes += (changes.empty() ? "" : "; ") + (sign + line);
  };
  tell("+", now, old);
  tell("-", old, now);
  return changes;
}

// The calls that reached the host, made UUIDs as "?", but for the ends of scopes.
Lines callsOf(const World& world) {
  Lines calls;
  for (std::string call : world.probe.calls()) {
    const std::size_t end = call.find("ExportProfile:");
    if (end != std::string::npos && call.find('-', end) == end + 22) call.replace(end + 14, operations::MADE_UUID, "?");
    if (call.rfind("end", 0) != 0) calls.push_back(call);
  }
  return calls;
}

// What an operation comes to when nothing is broken.
struct CleanRun {
  CleanRun(const Operation& operation, World& world, bool undoes) {
    const Lines stored = storedIn(world), before = stateOf(world);
    world.probe.clear();
    world.probe.onCall = [&](const std::string&) {
      left.push_back(sorted(undoes ? stored : storedIn(world), othersIn(world)));
    };
    EXPECT_EQ(outcome(operation, world), operation.answer);
    world.probe.onCall = nullptr;
    calls = callsOf(world);
    after = stateOf(world);
    EXPECT_EQ(changesOf(before, after), operation.changes);
    beginnings = {before, after};
    beginnings.insert(left.begin(), left.end());
  }

  Lines calls;
  std::vector<Lines> left;  // when a call that is no end of a scope fails: what was done before, unless it is undone
  Lines after;
  std::set<Lines> beginnings;  // any of what can be left
};

class Faults : public testing::TestWithParam<const HostKind*> {
 protected:
  // Breaks each operation at each point, or at every `stride`-th, until a pass hits none. `breaks` tells whether it was
  // hit, and `check` what else has to be true of the calls that were made and what is left.
  template <class Breaks, class Check>
  void breakEverywhere(std::size_t stride, const Breaks& breaks, const Check& check) {
    for (const Operation& operation : operations::all) {
      SCOPED_TRACE(std::string(operation.name) + ", that answers " + operation.answer);
      World unbroken(copyOfTheProject());
      const CleanRun clean(operation, unbroken, GetParam()->isFolder);
      std::unique_ptr<World> world;
      for (std::size_t point = 0;; point += stride) {
        SCOPED_TRACE(point);
        // One that is as it was is used again.
        if (!world || !operation.changes.empty()) world = std::make_unique<World>(copyOfTheProject());
        world->probe.clear();
        if (!breaks(operation, *world, point)) break;
        ++injected_;
        EXPECT_EQ(world->probe.openScopes(), 0U);
        EXPECT_TRUE(world->probe.scopesAreNested());
        const Lines made = callsOf(*world), left = stateOf(*world);
        EXPECT_TRUE(made.size() <= clean.calls.size() && std::equal(made.begin(), made.end(), clean.calls.begin()));
        EXPECT_EQ(clean.beginnings.count(left), 1U) << testing::PrintToString(left);
        check(clean, made, left, point);
        expectItWorks(operation, clean, left, *world);
        if (HasFailure()) return;
      }
    }
  }

  void report(const std::string& kind, std::size_t known) const {
    EXPECT_GE(injected_, known) << "fewer than it is known to have";
    // A line for scripts/test.
    std::cout << "survived " << injected_ - (HasFailure() ? 1 : 0) << " of " << injected_ << ' ' << kind << '\n';
  }

 private:
  std::shared_ptr<ProjectManager> copyOfTheProject() const { return GetParam()->copy(*project_); }

  static void expectItWorks(const Operation& operation, const CleanRun& clean, const Lines& left, World& world) {
    const bool isDone = !operation.answerToRepetition.empty() && left == clean.after;
    world.probe.clear();
    EXPECT_EQ(outcome(operation, world), isDone ? operation.answerToRepetition : operation.answer);
    Lines expected = clean.after;
    // A category that is empty to begin with remains: of one that a broken run has emptied this is true, too.
    for (const std::string& line : left) {
      const bool isEmpty = line.rfind("category", 0) == 0 && std::count(line.begin(), line.end(), ' ') == 1;
      if (isEmpty && !std::binary_search(expected.begin(), expected.end(), line)) expected = sorted(expected, {line});
    }
    EXPECT_EQ(stateOf(world), expected);
  }

  MemoryProject sample_ = operations::sampleProject();
  std::shared_ptr<ProjectManager> project_ = GetParam()->make(sample_);
  std::size_t injected_ = 0;
};

TEST_P(Faults, OfTheHostLeaveAsTheyAreAndOnlyEndsOfScopesFollow) {
  const std::exception_ptr faults[] = {std::make_exception_ptr(HostFault()), std::make_exception_ptr(std::bad_alloc()),
                                       std::make_exception_ptr(1)};
  for (std::size_t row = 0; row < 2 * std::size(faults) && !HasFailure(); ++row) {
    const auto breaks = [&](const Operation& operation, World& world, std::size_t point) {
      world.probe.throwAt(point, faults[row / 2], row % 2 != 0);
      try {
        outcome(operation, world);
        return false;
      } catch (...) {
        EXPECT_EQ(std::current_exception(), faults[row / 2]);
        return true;
      }
    };
    breakEverywhere(hostStride, breaks,
                    [](const CleanRun& clean, const Lines& made, const Lines& left, std::size_t point) {
                      EXPECT_EQ(made.size(), point + 1) << "no call follows";
                      EXPECT_EQ(left, clean.left.at(point));
                    });
  }
  report("host calls", 5000 / hostStride);
}

TEST_P(Faults, OfMemoryLeaveAsTheyAreAndWhatIsChangedIsABeginning) {
  const auto breaks = [](const Operation& operation, World& world, std::size_t point) {
    return runsOutOfMemory(point, [&] { outcome(operation, world); });
  };
  breakEverywhere(memoryStride, breaks, [](auto&&...) {});
  report("allocations", 7000 / memoryStride);
}

INSTANTIATE_TEST_SUITE_P(Hosts, Faults, testing::Values(&memoryHost, &folderHost),
                         [](const auto& kind) { return std::string(kind.param->name); });

}  // namespace
