#include "folder_host/share/HandOut.h"

#include <cerrno>
#include <system_error>

#include "folder_host/Error.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/sinks/FolderSink.h"

namespace folder_host {

Place checkDestination(const WorkingCopy& copy, const std::string& destination) {
  Place place = attempt(errors::DESTINATION_UNUSABLE, "there is no folder to hold", destination,
                        [&] { return placeOf(destination); });
  attempt(errors::DESTINATION_UNUSABLE, "cannot use", destination, [&] {
    if (liesIn(place, copy.listing().folders)) {
      throw Error(errors::DESTINATION_IN_PROJECT,
                  inQuotes(destination) + " lies in the project itself; choose a folder outside of it");
    }
    if (isTaken(place))
      throw Error(errors::DESTINATION_EXISTS,
                  inQuotes(destination) + " is already there, and nothing is ever replaced; choose another name");
  });
  return place;
}

// The order is what makes the promise: everything is in the private folder, durable, and noted in the receipt before
// the one rename that gives the copy its name. Whatever fails or is killed before that leaves nothing but the private
// folder, which is removed here, or by the next hand-out beside it.
HandedOut handOut(const WorkingCopy& copy, const Place& place, const HandOutOptions& options) {
  const std::vector<const Entry*> entries = copy.entries();
  HandedOut result;
  Progress progress;
  progress.allEntries = entries.size();
  for (const Entry* entry : entries) {
    progress.allBytes += entry->size;
    ++(entry->kind == EntryKind::file ? result.files : entry->kind == EntryKind::link ? result.links : result.folders);
  }
  try {
    // What an earlier process left lies here, and may be as large as the copy: it is removed before room is needed.
    Publication::removeAbandoned(place.parent);
    Publication publication(place.parent);
    FolderSink sink(publication);
    const bool isWhole = copy.scope() == EntryTable::ROOT;
    const Source source(copy.root(), options.allowed, isWhole ? nullptr : &copy.table()[copy.scope()]);
    // Another folder under the project's name may hold what this one was to hold back.
    if (!(source.id == copy.listing().root)) throw changed(copy.root());
    result.changed = copyTree(
        source, entries, sink,
        [&](std::size_t copied, std::uint64_t bytes) {
          progress.entries = copied;
          progress.bytes = bytes;
          if (options.onProgress) options.onProgress(progress);
        },
        &result.written);
    const std::string store = copy.storeOfWhatIsShared();
    result.store = {store.size(), sha256Of(store)};
    sink.addStore(store);
    sink.finish();
    result.bytes = progress.bytes;
    if (options.beforePublication) {
      // By what the folder is, whatever name it has for now.
      const auto written = openFolderCopy("/proc/self/fd/" + std::to_string(publication.content().get()) + "/.");
      options.beforePublication(*written, result);
    }
    publication.publish(place.name);
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == EEXIST ? errors::DESTINATION_EXISTS : errors::COPY_FAILED, "cannot make", place.path(),
                        code);
  }
  return result;
}

}  // namespace folder_host
