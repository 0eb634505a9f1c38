#include "folder_host/Sharing.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "folder_host/Descriptor.h"
#include "folder_host/Failure.h"
#include "folder_host/StagingFolder.h"
#include "folder_host/TreeCopy.h"
#include "project/sharing/SerializationData.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

struct Destination {
  Descriptor parent;
  std::string parentPath;  // without links in it
  std::string name;
};

Destination resolve(std::string destination) {
  while (destination.size() > 1 && destination.back() == '/') destination.pop_back();
  const fs::path path = fs::path(".") / destination;
  try {
    const std::string name = path.filename().string();
    const std::string parent = fs::canonical(path.parent_path()).string();
    return {openFolder(parent), parent, name.empty() ? "." : name};
  } catch (const std::system_error& error) {
    throw systemFailure(errors::DESTINATION_UNUSABLE, "there is no folder to hold", destination, error.code().value());
  }
}

// Compared by what the folders are, not by their names: one folder can have several.
bool liesIn(const std::string& folder, const struct stat& root) {
  for (fs::path path = folder;; path = path.parent_path()) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && sameFile(status, root)) return true;
    if (!path.has_relative_path()) return false;
  }
}

void refuseOccupied(const Destination& destination, const std::string& named) {
  struct stat status {};
  if (::fstatat(destination.parent.get(), destination.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    throw Error(errors::DESTINATION_EXISTS, inQuotes(named) + " is already there");
  }
  if (errno != ENOENT) throw systemFailure(errors::DESTINATION_UNUSABLE, "cannot use", named, errno);
}

Destination checked(const std::string& root, const std::string& named) {
  Destination destination = resolve(named);
  struct stat status {};
  if (::stat(root.c_str(), &status) == 0 && liesIn(destination.parentPath, status)) {
    throw Error(errors::DESTINATION_IN_PROJECT, inQuotes(named) + " lies in the project itself");
  }
  refuseOccupied(destination, named);
  return destination;
}

void refuseNestedProjects(const Listing& listing) {
  if (listing.nestedProjects.empty()) return;
  throw Error(errors::NESTED_PROJECT, inQuotes(listing.nestedProjects.front()) +
                                          " is a project of its own, with rules that must not be handed out; move it");
}

HostRemovals transform(const std::shared_ptr<WorkingCopy>& copy,
                       const project::sharing::TransformationHierarchy& transformation) {
  project::sharing::SerializationData data;
  data.projectPath = copy->getFileManager().getRootFolder();
  data.projectManagers.emplace(data.projectPath, copy);
  transformation.apply(data);
  return copy->applyHostRules();
}

void copyEntries(const WorkingCopy& copy, TreeCopy& tree, ShareResult& result) {
  for (const Entry* entry : copy.entries()) {
    result.bytes += tree.add(*entry);
    switch (entry->kind) {
      case EntryKind::file:
        ++result.files;
        break;
      case EntryKind::folder:
        ++result.folders;
        break;
      case EntryKind::link:
        ++result.links;
        break;
    }
  }
}

// A hard link: what is held back under one name would leave under the other.
void refuseSharedContent(const WorkingCopy& copy, const TreeCopy& tree) {
  for (const Entry* entry : copy.gone()) {
    const std::string other = entry->kind == EntryKind::file ? tree.copiedAs(entry->path) : std::string();
    if (other.empty()) continue;
    throw Error(errors::CONTENT_UNDER_TWO_NAMES, inQuotes(entry->path) + " goes and is the same file as " +
                                                     inQuotes(other) + ", which stays; label both or make one a copy");
  }
}

void writeStore(WorkingCopy& copy, const StagingFolder& staging) {
  if (::mkdirat(staging.descriptor().get(), ".project", 0700) != 0) throwErrno();
  try {
    copy.writeStore(staging.path() + "/.project/store.db");
  } catch (const Error& error) {
    throw Error(errors::COPY_FAILED, std::string("cannot write the copy's store: ") + error.what());
  }
}

void assemble(WorkingCopy& copy, const StagingFolder& staging, ShareResult& result) {
  TreeCopy tree(copy.root(), staging.descriptor());
  copyEntries(copy, tree, result);
  refuseSharedContent(copy, tree);
  writeStore(copy, staging);
  tree.finishFolders();
  staging.syncContent();
}

}  // namespace

void checkDestination(const WorkingCopy& copy, const std::string& destination) { checked(copy.root(), destination); }

ShareResult share(const std::shared_ptr<WorkingCopy>& copy,
                  const project::sharing::TransformationHierarchy& transformation, const std::string& destination) {
  Destination place = checked(copy->root(), destination);
  refuseNestedProjects(copy->listing());
  ShareResult result;
  result.removals = transform(copy, transformation);
  try {
    StagingFolder staging(std::move(place.parent), place.parentPath, ".project-share-");
    assemble(*copy, staging, result);
    staging.publish(place.name);
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == EEXIST ? errors::DESTINATION_EXISTS : errors::COPY_FAILED, "cannot make", destination,
                        code);
  }
  return result;
}

}  // namespace folder_host
