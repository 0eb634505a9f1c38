#include <gtest/gtest.h>

#include <functional>

#include "AllocationFault.h"
#include "Samples.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

// Every public operation, broken at every host call and at every allocation.
namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;
using memory_host::Probe;
using samples::Items;

const ExportStrategyItem internal{u"category-of-some-length", u"label-uuid-of-some-length"};
const Items items{{u"category-of-some-length", u"other-uuid-of-some-length"},
                  internal,
                  {u"another-of-some-length", u"label-uuid-of-some-length"}};

struct HostFault {};

// A project with files, labels and two stored profiles of all four kinds, behind a probe.
struct World {
  World() {
    host->addLabel(internal.category, internal.labelUUID);
    host->addFolder(u"/p/folder", {{internal.category, internal.labelUUID}});
    host->addFile(u"/p/folder/secret", {{internal.category, internal.labelUUID}});
    host->addFile(u"/p/folder/open");
    for (const auto* uuid : {u"first", u"second"}) {
      const auto made = manager->createProfile(uuid, uuid);
      for (const auto* kind : {u"FileLabel", u"IncludeFilesWithLabel", u"Label", u"IncludeLabels"}) {
        made->addFilter(kind, {internal});
      }
      made->save();
    }
    profile = manager->getProfileByUUID(u"first");
    data.projectManagers[data.projectPath] = project;
  }

  // The filters of the profile, and what is in them.
  auto filters() const {
    std::vector<std::pair<std::shared_ptr<ExportFilter>, Items>> all;
    for (const auto& filter : profile->getFilters()) all.emplace_back(filter, filter->getItems());
    return all;
  }
  ExportFilter& filter(std::size_t position) const { return *profile->getFilters().at(position); }

  Probe probe;
  std::shared_ptr<MemoryProject> host = std::make_shared<MemoryProject>();
  std::shared_ptr<project::management::ProjectManager> project = memory_host::probed(*host, probe);
  std::unique_ptr<ExportProfileManager> manager = createManager(project->getMetadataManager());
  std::shared_ptr<ExportProfile> profile;
  project::sharing::SerializationData data;
};

struct Operation {
  const char* name;
  std::function<void(World&)> run;
  std::size_t hostCalls;  // that it makes at least
};

std::ostream& operator<<(std::ostream& out, const Operation& operation) { return out << operation.name; }

// An error of the library's own is an outcome, not a fault.
void refused(const std::function<void()>& action) {
  try {
    action();
    ADD_FAILURE() << "not refused";
  } catch (const project::exception::ProjectException&) {
  }
}

const Operation operations[] = {
    {"getProfiles", [](World& w) { w.manager->getProfiles(); }, 40},
    {"getProfileByName", [](World& w) { w.manager->getProfileByName(u"second"); }, 46},
    {"getProfileByUUID", [](World& w) { w.manager->getProfileByUUID(u"second"); }, 40},
    {"createProfile", [](World& w) { w.manager->createProfile(u"a name of some length", u"third"); }, 49},
    {"createProfileAgain", [](World& w) { w.manager->createProfile(u"other", u"second"); }, 60},
    {"createProfileRefused", [](World& w) { refused([&] { w.manager->createProfile(u"second"); }); }, 46},
    {"getProfileByNameRefused", [](World& w) { refused([&] { w.manager->getProfileByName(u"none"); }); }, 46},
    {"deleteProfile", [](World& w) { w.manager->deleteProfile(w.profile); }, 2},
    {"getName", [](World& w) { w.profile->getName(); }, 3},
    {"setName", [](World& w) { w.profile->setName(u"a name of some length"); }, 4},
    {"save", [](World& w) { w.profile->save(); }, 11},
    {"applyProfile", [](World& w) { w.profile->apply(*w.project); }, 18},
    {"applyFileInclude", [](World& w) { w.filter(0).apply(*w.project); }, 8},
    {"applyFileExclude", [](World& w) { w.filter(1).apply(*w.project); }, 8},
    {"applyLabelExclude", [](World& w) { w.filter(3).apply(*w.project); }, 6},
    {"applyTransformation", [](World& w) { ExportProfileTransformation(u"first").apply(w.data); }, 59},
    {"addLabelFilter", [](World& w) { w.profile->addFilter(u"Label", items); }, 0},
    {"addFileFilter", [](World& w) { w.profile->addFilter(u"FileLabel", items); }, 0},
    {"addItems", [](World& w) { w.filter(0).addItems(items); }, 0},
    {"getItems", [](World& w) { w.filter(0).getItems(); }, 0},
};

class Faults : public testing::TestWithParam<Operation> {
 protected:
  // Breaks the operation at each point until a run hits none. Whatever `fails` it is, the filters are as they were, no
  // scope is open, and the next call works. Gives the number of points.
  static std::size_t breakEverywhere(const std::function<bool(World&, std::size_t)>& fails) {
    for (std::size_t point = 0;; ++point) {
      World world;
      const auto before = world.filters();
      const bool failed = fails(world, point);
      EXPECT_EQ(dynamic_cast<memory_host::MemoryMetadata&>(*world.host->metadata).openScopes(), 0);
      if (!failed) return point;
      EXPECT_EQ(world.filters(), before);
      world.probe.clear();
      EXPECT_NO_THROW(GetParam().run(world));
    }
  }
};

TEST_P(Faults, OfTheHostLeaveAsTheyAreAndNothingIsCalledAfterwards) {
  const std::exception_ptr fault = std::make_exception_ptr(HostFault());
  const auto fails = [&](World& world, std::size_t point) {
    world.probe.throwAt(point, fault);
    try {
      GetParam().run(world);
      return false;
    } catch (...) {
      EXPECT_EQ(std::current_exception(), fault);
    }
    std::size_t made = 0;
    for (const std::string& call : world.probe.calls()) made += call.rfind("end", 0) != 0;
    EXPECT_EQ(made, point + 1) << world.probe.calls().back();
    return true;
  };
  EXPECT_GE(breakEverywhere(fails), GetParam().hostCalls);
}

TEST_P(Faults, OfMemoryLeaveTheFiltersAndNoScopeOpen) {
  const auto fails = [](World& world, std::size_t point) {
    return runsOutOfMemory(point, [&] { GetParam().run(world); });
  };
  EXPECT_GT(breakEverywhere(fails), GetParam().hostCalls);
}

INSTANTIATE_TEST_SUITE_P(Operations, Faults, testing::ValuesIn(operations),
                         [](const testing::TestParamInfo<Operation>& row) { return std::string(row.param.name); });

}  // namespace
