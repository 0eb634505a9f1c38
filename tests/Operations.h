#pragma once

#include <functional>

#include "Samples.h"
#include "project/sharing/SerializationData.h"

// Every public operation, given good and bad input, with what has to come of it.
namespace operations {

using samples::ExportFilter;
using samples::ExportProfile;

// The project that all of them work on: labels, entries, and profiles, of which the first has filters of all four
// kinds, and nodes of other types beside them.
memory_host::MemoryProject sampleProject();

// That project on some host, behind a probe.
struct World {
  explicit World(std::shared_ptr<project::management::ProjectManager> project);

  ExportFilter& filter(std::size_t position) const { return *first->getFilters().at(position); }
  ExportFilter& editedFilter() const { return *edited->getFilters().front(); }

  memory_host::Probe probe;
  std::shared_ptr<project::management::ProjectManager> host;
  std::shared_ptr<project::management::ProjectManager> project;
  std::unique_ptr<samples::ExportProfileManager> manager;
  std::shared_ptr<ExportProfile> first;    // 1, as it is stored
  std::shared_ptr<ExportProfile> edited;   // 2, with filters that are not saved
  std::shared_ptr<ExportProfile> deleted;  // 4
  project::sharing::SerializationData data;
};

// All that can be told of a world, a line each: what is stored; labels, entries and unsaved profiles. Made UUIDs are
// "?".
using Lines = std::vector<std::string>;
constexpr std::size_t MADE_UUID = 36;  // units of a UUID that the host made; the samples have none so long
Lines storedIn(const World& world);
Lines othersIn(const World& world);

struct Operation {
  const char* name;
  std::function<std::string(World&)> run;  // gives an answer
  std::string answer;
  std::string changes = {};  // of the state: "+" a line that is new, "-" one that is no more; sorted, "; " between
  // The answer when the operation runs again though all was changed already; empty where it is the same.
  std::string answerToRepetition = {};
};

extern const std::vector<Operation> all;

// The operation's answer; of an error of the library, or a missing project or profile, the identifier.
std::string outcome(const Operation& operation, World& world);

}  // namespace operations
