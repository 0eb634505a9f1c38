#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/FolderProject.h"
#include "folder_host/files/Ownership.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "settings/TrustedProjects.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Address;
using folder_host::FolderProject;

namespace {

// Trust is in an owner of a folder, not in the folder: should it ever belong to somebody else, it is asked for again.
void remember(const std::string& root, const std::vector<uid_t>& owners) {
  changeTrustedProjects([&](TrustedProjects& projects) {
    for (const uid_t owner : owners) {
      const TrustedProject project{root, owner};
      if (std::find(projects.begin(), projects.end(), project) == projects.end()) projects.push_back(project);
    }
  });
}

Json jsonOfOwners(const std::string& root, const std::vector<uid_t>& owners) {
  Json object;
  putPath(object, "project", root);
  object["owners"] = owners;
  return object;
}

// The project that the folder belongs to or, where it is one no more, the folder. Whoever wants a project forgotten may
// have removed it already.
std::string rootOrFolder(const std::string& folder) {
  try {
    return FolderProject::rootOf(folder);
  } catch (const Refusal&) {
    std::error_code error;
    const auto known = std::filesystem::weakly_canonical(std::filesystem::absolute(folder), error);
    return error ? folder : known.string();
  }
}

void tellMade(const FolderProject& project, const std::string& text) {
  Json object;
  putPath(object, "project", project.root());
  if (project.address()) object["address"] = project.address()->text();
  done(text, object);
}

}  // namespace

void initProject(const std::string& folder, const std::string& store) {
  const std::optional<Address> address = store.empty() ? std::nullopt : std::optional(folder_host::parseAddress(store));
  const FolderProject project = makeProject(folder, address);
  const std::string root = inQuotes(project.root());
  if (!address) return tellMade(project, fmt::format("Made {} a project.", root));
  tellMade(project, fmt::format("Made {} a project, with its store at {}. To use it from another folder, there: {}",
                                root, inQuotes(address->text()), joinCommand(*address)));
}

void joinStore(const std::string& store, const std::string& folder) {
  const FolderProject project = joinProject(folder, folder_host::parseAddress(store));
  tellMade(project, fmt::format("Made {} a folder of the project at {}.", inQuotes(project.root()),
                                inQuotes(project.address()->text())));
}

void trustProject(const std::string& folder) {
  const std::string root = FolderProject::rootOf(folder);
  // The folder, the store and the journal may have several owners. Each is trusted and named, since each of them can
  // decide what is held back.
  const std::vector<uid_t> owners = folder_host::strangersOwning(root);
  std::string names;
  for (const uid_t owner : owners) {
    // What nobody can look at is not trusted for good.
    if (owner == folder_host::UNKNOWN_OWNER) folder_host::requireTrusted(root, nullptr);
    names += (names.empty() ? "" : " and ") + inQuotes(folder_host::userName(owner));
  }
  // Nothing is stored that is not needed: should the project once belong to a stranger, nobody has trusted them.
  if (owners.empty()) {
    return done(fmt::format("The project {} belongs to you or to root: it is opened anyway.", inQuotes(root)),
                jsonOfOwners(root, owners));
  }
  remember(root, owners);
  done(fmt::format("The project {} is opened from now on, though it belongs to {}.", inQuotes(root), names),
       jsonOfOwners(root, owners));
}

// By the folder alone, whoever owned it: what is to be forgotten must not depend on who owns it now.
void forgetProject(const std::string& folder) {
  const std::string root = rootOrFolder(folder);
  std::vector<uid_t> owners;
  changeTrustedProjects([&](TrustedProjects& projects) {
    const auto others =
        std::stable_partition(projects.begin(), projects.end(), [&](const auto& one) { return one.root != root; });
    for (auto one = others; one != projects.end(); ++one) owners.push_back(one->owner);
    projects.erase(others, projects.end());
    if (owners.empty()) {
      throw Refusal(
          refusals::NOT_TRUSTED,
          fmt::format(
              "{} is not trusted, and there is nothing to forget; name the project's folder if it is another one",
              inQuotes(root)));
    }
  });
  done(fmt::format("The project {} is trusted no more.", inQuotes(root)), jsonOfOwners(root, owners));
}

}  // namespace project_share
