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
// it, which then hold or fail; without the hook they are skipped. The suite keeps no reference to a label or file
// manager while a hook is called: a host may give another one afterwards.
struct Host {
  Project project;

  // Opens one more session with the stored project, beside `project`.
  std::function<Project()> openAgain;

  // Add an entry to the root folder, or to a folder that addFolder made, and give the path as getFiles lists it. The
  // name is not empty, has no slash and no U+0000, and takes 200 bytes of UTF-8 at most. The hook throws
  // std::invalid_argument for a name that the project cannot hold, or cannot hold beside the others: for example where
  // no name may have a lone surrogate, or where case does not count. The suite goes on without that entry, and says so.
  // A name of the letters a to z must never be refused.
  std::function<Path(const Path& folder, const std::u16string& name)> addFile;
  std::function<Path(const Path& folder, const std::u16string& name)> addFolder;

  // Adds one more label to the category of that name, and the category where there is none. The name is any text but
  // the empty one, and may be refused as above.
  std::function<Label(const std::u16string& category, bool isRemovable)> addLabel;

  // Attaches the label to this very entry, not to what lies below it.
  std::function<void(const Path& entry, const Label& label)> attach;

  // Gives what the sharing machinery would be given of `project` as it is now: the same entries, below a root folder
  // whose text may be its own, the same labels and the same metadata. Neither sees what is done to the other
  // afterwards.
  std::function<Project()> workingCopy;

  // A host sets this whose write scopes undo what was written in them when an exception ends them.
  bool undoesWriteScopes = false;

  // A host sets this in which each thread may use a session of its own: a read scope shows one state, and a write scope
  // keeps other writers out, who wait or fail.
  bool isolatesSessions = false;

  // Makes the commit fail at the end of the next outermost write scope of `project` that changes something, as a full
  // disk or a lost server does. What is done by then in this session has succeeded.
  std::function<void()> failNextCommit;
};

// Registers every clause as a test of the suite `name`; must be called before RUN_ALL_TESTS. Each test asks the factory
// for a host of its own. One test runs this program again, by /proc/self/exe with the same arguments; in that process
// this function gives that test UUIDs and ends the process. Where the caller was compiled against other headers of
// the host than the library, one test alone is registered, which fails and says what differs.
void registerSuite(const std::string& name, const std::function<Host()>& factory,
                   const project::sharing::profiles::HostLayout& ofCaller);
[[maybe_unused]] static void registerSuite(const std::string& name, const std::function<Host()>& factory) {
  registerSuite(name, factory, project::sharing::profiles::hostLayout());
}

}  // namespace host_conformance
