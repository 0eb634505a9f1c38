// How many allocations each public operation makes, the host's answers among them. Of a filter also those of the calls
// alone that it has to make.
#include <functional>

#include "AllocationFault.h"
#include "Floor.h"
#include "Suite.h"
#include "TableHost.h"
#include "memory_host/MemoryHost.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace bench {

namespace {

using namespace project::sharing::profiles;

// Ten stored profiles with a filter of fifty items each, and a project of a thousand entries.
struct World {
  World() {
    for (std::size_t i = 0; i < 10; ++i) {
      profile = manager->createProfile(uuidOf(i), uuidOf(i));
      profile->addFilter(EXCLUDE_FILES_WITH_LABEL, items);
      profile->save();
    }
    filter = profile->getFilters().front();
    data.projectManagers[data.projectPath] = project;
  }

  plain::Items items = itemsUpTo(50);
  std::shared_ptr<memory_host::MemoryProject> project = std::make_shared<memory_host::MemoryProject>();
  std::unique_ptr<ExportProfileManager> manager = createManager(project->metadata);
  std::shared_ptr<ExportProfile> profile;
  std::shared_ptr<ExportFilter> filter;
  project::sharing::SerializationData data;
};

struct Operation {
  const char* name;
  std::function<void(World&)> run;
};

const Operation operations[] = {
    {"createManager", [](World& w) { createManager(w.project->metadata); }},
    {"getProfiles", [](World& w) { w.manager->getProfiles(); }},
    {"getProfileByName", [](World& w) { w.manager->getProfileByName(uuidOf(1)); }},
    {"getProfileByUUID", [](World& w) { w.manager->getProfileByUUID(uuidOf(1)); }},
    {"createProfile", [](World& w) { w.manager->createProfile(u"other"); }},
    {"deleteProfile", [](World& w) { w.manager->deleteProfile(w.profile); }},
    {"getName", [](World& w) { w.profile->getName(); }},
    {"setName", [](World& w) { w.profile->setName(u"other"); }},
    {"save", [](World& w) { w.profile->save(); }},
    {"getFilters", [](World& w) { w.profile->getFilters(); }},
    {"addFilter", [](World& w) { w.profile->addFilter(EXCLUDE_LABEL, w.items); }},
    {"removeFilter", [](World& w) { w.profile->removeFilter(w.filter); }},
    {"getType", [](World& w) { w.filter->getType(); }},
    {"getItems", [](World& w) { w.filter->getItems(); }},
    {"addItems", [](World& w) { w.filter->addItems(w.items); }},
    {"removeItems", [](World& w) { w.filter->removeItems(w.items); }},
    {"applyTransformation", [](World& w) { ExportProfileTransformation(w.profile->getUUID()).apply(w.data); }},
};

void report(benchmark::State& state, std::size_t allocations, std::size_t ofHost) {
  while (state.KeepRunning()) state.SetIterationTime(0);
  state.counters["allocations"] = static_cast<double>(allocations);
  if (ofHost != 0) state.counters["of_host"] = static_cast<double>(ofHost);
}

void addApply(const Suite& suite, const char* name, const std::u16string& kind) {
  suite.add(std::string("allocations/") + name, 1, [=](benchmark::State& state) {
    const Shape shape{kind, 1000, 50, 2, false};
    TableHost host(shape);
    Floor floor(kind, itemsUpTo(shape.items), host);
    World world;
    const auto filter = world.profile->addFilter(kind, itemsUpTo(shape.items));
    const std::size_t all = allocationsOf([&] { filter->apply(host); });
    report(state, all, allocationsOf([&] { floor.call(); }));
  });
}

}  // namespace

void addAllocations(const Suite& suite) {
  for (const Operation& operation : operations) {
    suite.add(std::string("allocations/") + operation.name, 1, [&operation](benchmark::State& state) {
      World world;
      report(state, allocationsOf([&] { operation.run(world); }), 0);
    });
  }
  addApply(suite, "apply-keep-files", INCLUDE_FILES_WITH_LABEL);
  addApply(suite, "apply-drop-files", EXCLUDE_FILES_WITH_LABEL);
  addApply(suite, "apply-keep-labels", INCLUDE_LABEL);
  addApply(suite, "apply-drop-labels", EXCLUDE_LABEL);
}

}  // namespace bench
