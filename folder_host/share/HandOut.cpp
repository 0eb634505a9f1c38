#include "folder_host/share/HandOut.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/CopySteps.h"
#include "folder_host/share/Risks.h"
#include "folder_host/share/TreeCopy.h"
#include "project/sharing/SerializationData.h"

namespace folder_host {

namespace {

Place resolve(const std::string& destination) {
  try {
    return placeOf(destination);
  } catch (const std::system_error& error) {
    throw systemFailure(errors::DESTINATION_UNUSABLE, "there is no folder to hold", destination, error.code().value());
  }
}

void refuse(const std::vector<Risk>& risks, const ShareOptions& options) {
  for (const Risk& risk : risks) {
    if (!options.allowed.allows(risk.identifier, risk.path)) throw Error(risk.identifier, risk.message);
  }
}

HostRemovals transform(const std::shared_ptr<WorkingCopy>& copy,
                       const project::sharing::TransformationHierarchy& transformation) {
  project::sharing::SerializationData data;
  data.projectPath = copy->getFileManager().getRootFolder();
  data.projectManagers.emplace(data.projectPath, copy);
  transformation.apply(data);
  return copy->applyHostRules();
}

ShareResult countOf(const std::vector<const Entry*>& entries) {
  ShareResult result;
  for (const Entry* entry : entries) {
    if (entry->kind == EntryKind::file) ++result.files;
    if (entry->kind == EntryKind::folder) ++result.folders;
    if (entry->kind == EntryKind::link) ++result.links;
  }
  return result;
}

Progress allOf(const std::vector<const Entry*>& entries) {
  Progress progress;
  progress.allEntries = entries.size();
  for (const Entry* entry : entries) progress.allBytes += entry->size;
  return progress;
}

// Whoever can read the copy's top folder can open it as a project.
void writeStore(WorkingCopy& copy, const Descriptor& target, mode_t mode) {
  if (::mkdirat(target.get(), STORE_FOLDER, 0700) != 0) throwErrno();
  const Descriptor folder = openBeneath(target, STORE_FOLDER, O_RDONLY | O_DIRECTORY);
  const Descriptor file = openBeneath(folder, STORE_NAME, O_WRONLY | O_CREAT | O_EXCL, 0600);
  writeAll(file, copy.storeOfWhatIsLeft());
  if (::fchmod(file.get(), (mode & 0666U) | 0600U) != 0) throwErrno();
  if (::fchmod(folder.get(), mode | 0700U) != 0) throwErrno();
}

void assemble(WorkingCopy& copy, const StagingFolder& staging, const ShareOptions& options, ShareResult& result) {
  const std::vector<const Entry*> entries = copy.entries();
  Progress progress = allOf(entries);
  const auto tell = [&](std::size_t copied, std::uint64_t bytes) {
    progress.entries = copied;
    progress.bytes = bytes;
    if (options.onProgress) options.onProgress(progress);
  };
  TreeCopy tree(copy.root(), staging.content(), {options.allowed, tell});
  if (!(tree.rootId() == copy.listing().root)) throw changed(copy.root());
  tree.copy(entries);
  writeStore(copy, staging.content(), tree.rootMode());
  tree.finishFolders();
  staging.syncContent();
  result.bytes = progress.bytes;
  result.changed = tree.changedPaths();
}

void publish(WorkingCopy& copy, const Place& place, const ShareOptions& options, ShareResult& result) {
  StagingFolder::removeAbandoned(place.parent);
  StagingFolder staging(place.parent);
  assemble(copy, staging, options, result);
  if (options.beforePublication) options.beforePublication(copy, staging.content());
  staging.publish(place.name);
}

}  // namespace

Place checkDestination(const WorkingCopy& copy, const std::string& destination) {
  Place place = resolve(destination);
  try {
    if (liesIn(place, copy.listing().folders)) {
      throw Error(errors::DESTINATION_IN_PROJECT, inQuotes(destination) + " lies in the project itself");
    }
    if (isTaken(place)) throw Error(errors::DESTINATION_EXISTS, inQuotes(destination) + " is already there");
  } catch (const std::system_error& error) {
    throw systemFailure(errors::DESTINATION_UNUSABLE, "cannot use", destination, error.code().value());
  }
  return place;
}

ShareResult share(const std::shared_ptr<WorkingCopy>& copy,
                  const project::sharing::TransformationHierarchy& transformation, const std::string& destination,
                  const ShareOptions& options) {
  const Place place = checkDestination(*copy, destination);
  const HostRemovals removals = transform(copy, transformation);
  refuse(risksAmong(*copy), options);
  ShareResult result = countOf(copy->entries());
  result.removals = removals;
  try {
    publish(*copy, place, options, result);
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == EEXIST ? errors::DESTINATION_EXISTS : errors::COPY_FAILED, "cannot make", destination,
                        code);
  }
  return result;
}

}  // namespace folder_host
