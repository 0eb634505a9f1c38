#include "folder_host/share/EarlierCopy.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Path.h"
#include "folder_host/files/Publication.h"

namespace folder_host {

namespace {

FileId fileIdOf(const EntryState& state) { return {state.device, state.stamp.inode}; }

[[noreturn]] void refuseAs(const char* identifier, const std::string& destination, const char* why) {
  throw Error(identifier, inQuotes(destination) + " cannot be updated: " + why);
}

Place placeOfEarlier(const std::string& destination) {
  Place place = placeOf(destination);
  if (!isTaken(place)) Publication::removeAbandoned(place.parent);
  if (!isTaken(place)) {
    refuseAs(errors::DESTINATION_UNUSABLE, destination, "nothing is there; leave --update out to make a first copy");
  }
  return place;
}

}  // namespace

bool isAsNoted(const EarlierCopy& copy, const CopyNotes& notes) {
  return std::all_of(copy.seen.begin(), copy.seen.end(), [&](const auto& entry) {
    const auto& [path, state] = entry;
    if (!S_ISREG(state.mode) || !isEntryPath(path)) return true;
    const auto noted = notes.find(path);
    return noted && noted->copy == state.stamp;
  });
}

EarlierCopy earlierCopyAt(const WorkingCopy& copy, const std::string& destination) {
  return attempt(errors::DESTINATION_UNUSABLE, "cannot update", destination, [&]() -> EarlierCopy {
    Place place = placeOfEarlier(destination);
    const EntryState there = stateIn(place.parent, place.name);
    const auto unusable = [&](const char* why) { refuseAs(errors::DESTINATION_UNUSABLE, destination, why); };
    if (!S_ISDIR(there.mode)) unusable("it is no folder");
    if (there.owner != ::geteuid()) unusable("it is somebody else's");
    if (there.isMountPoint) unusable("it is a mount point");
    if (fileIdOf(there) == fileIdOf(stateIn(Descriptor(AT_FDCWD), ".")))
      unusable("you are in it; go to another folder first");
    const Place project{openFolder(copy.root()), copy.root(), {}};
    if (liesIn(place, copy.listing().folders) || liesIn(project, {fileIdOf(there)})) {
      refuseAs(errors::DESTINATION_IN_PROJECT, destination, "it lies in the project or holds it");
    }
    Descriptor folder = openBeneath(place.parent, place.name, O_RDONLY | O_DIRECTORY);
    // Held as long as the folder is open. Where a file system has no such locks, the exchange tells.
    if (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      unusable("it is being updated right now; try again when that is done");
    }
    FolderState seen = stateOf(folder);
    return {std::move(place), std::move(folder), std::move(seen)};
  });
}

}  // namespace folder_host
