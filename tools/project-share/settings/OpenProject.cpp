#include "settings/OpenProject.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "Refusal.h"
#include "output/Output.h"
#include "settings/TrustedProjects.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::FolderProject;

namespace {

// The settings are read only where a project is somebody else's: who uses their own never needs any.
bool isTrusted(const std::string& root, uid_t owner) {
  if (invocation().trusting) return true;
  const TrustedProjects trusted = trustedProjects();
  return std::find(trusted.begin(), trusted.end(), TrustedProject{root, owner}) != trusted.end();
}

template <class Open>
FolderProject orHowTo(const std::string& folder, const Open& open) {
  try {
    return open();
  } catch (const Refusal& error) {
    if (std::strcmp(error.identifier(), folder_host::errors::STORE_UNTRUSTED) != 0) throw;
    throw Refusal(error.identifier(), std::string(error.what()) +
                                          ", by --trust this once, from now on by: " + commandOf({"trust", folder}));
  }
}

}  // namespace

FolderProject openProject() {
  try {
    FolderProject project = orHowTo(".", [] { return FolderProject::open(".", isTrusted); });
    folder_host::Author author = project.author();
    author.words = invocation().typed;
    project.setAuthor(std::move(author));
    return project;
  } catch (const Refusal& error) {
    if (std::strcmp(error.identifier(), folder_host::errors::NOT_A_PROJECT) != 0) throw;
    throw Refusal(error.identifier(), fmt::format("{}; to make it one: {}", error.what(), commandOf({"init"})));
  }
}

FolderProject makeProject(const std::string& folder) {
  return orHowTo(folder, [&] { return FolderProject::init(folder, isTrusted); });
}

}  // namespace project_share
