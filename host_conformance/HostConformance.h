#pragma once

#include <functional>
#include <memory>
#include <string>

#include "project/management/ProjectManager.h"
#include "project/sharing/profiles/HostLayout.h"

// Proves that a host does what the library relies on. docs/conformance.md lists the clauses; each is one test.
namespace host_conformance {

using Project = std::shared_ptr<project::management::ProjectManager>;
using Path = fl::filesystem::path;
using Label = project::management::Label;

// A host with an empty project: no metadata, no labels, no entries. Each hook that is set unlocks the clauses that need
// it, which then hold or fail; without it they are skipped. The suite keeps no reference to a label or file manager
// over the call of a hook: a host may give another one afterwards.
struct Host {
  Project project;

  // One more session with the stored project, beside `project`.
  std::function<Project()> openAgain;

  // Add to the root folder, or to one that addFolder made, and give the path as getFiles lists it. A name is not empty,
  // has no slash and no U+0000, and takes 200 bytes of UTF-8 at most. std::invalid_argument for one that the project
  // cannot hold, or not beside the others: as where no name has a lone surrogate, or case does not count. The suite
  // goes on without it, and tells. A name of the letters a to z is never refused.
  std::function<Path(const Path& folder, const std::u16string& name)> addFile;
  std::function<Path(const Path& folder, const std::u16string& name)> addFolder;

  // Adds one more label to the category of that name, and the category where there is none. The name is any text but
  // the empty one, and may be refused as above.
  std::function<Label(const std::u16string& category, bool isRemovable)> addLabel;

  // The very entry, not what lies below it.
  std::function<void(const Path& entry, const Label& label)> attach;

  // What the sharing machinery would be given of `project` as it is now: the same entries, below a root folder whose
  // text may be its own, the same labels and the same metadata. Neither sees what is done to the other afterwards.
  std::function<Project()> workingCopy;

  // Set by a host whose write scopes undo what was written in them when an exception ends them.
  bool undoesWriteScopes = false;

  // Set by a host in which each thread may use a session of its own: a read scope shows one state, and a write scope
  // keeps other writers out, who wait or fail.
  bool isolatesSessions = false;
};

// Registers every clause as a test of the suite `name`; to be called before RUN_ALL_TESTS. Each test asks the factory
// for a host of its own. One runs this program again, by /proc/self/exe with the same arguments: this function then
// tells UUIDs, and ends that process. Where the caller was compiled against other headers of the host than the library,
// the one test that is registered says what differs.
void registerSuite(const std::string& name, const std::function<Host()>& factory,
                   const project::sharing::profiles::HostLayout& ofCaller);
[[maybe_unused]] static void registerSuite(const std::string& name, const std::function<Host()>& factory) {
  registerSuite(name, factory, project::sharing::profiles::hostLayout());
}

}  // namespace host_conformance
