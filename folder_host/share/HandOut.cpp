#include "folder_host/share/HandOut.h"

#include <cerrno>
#include <system_error>
#include <utility>

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
    if (!isTaken(place)) return;
    place.mayGiveWay = givesWay(place);
    if (!place.mayGiveWay) {
      throw Error(errors::DESTINATION_EXISTS,
                  inQuotes(destination) +
                      " is already there, and of what is there only an empty folder of your own gives "
                      "way; choose another name");
    }
  });
  return place;
}

namespace {

bool isUntouched(const EarlierCopy& earlier, const std::string& digest) {
  try {
    return digestOf(stateOf(earlier.folder)) == digest;
  } catch (const std::system_error&) {
    return false;
  }
}

// One hand-out, from the first look at its place to the last.
class Handing {
 public:
  Handing(const WorkingCopy& copy, const Place& place, const HandOutOptions& options)
      : copy_(copy),
        place_(place),
        options_(options),
        entries_(copy.entries()),
        takeover_(options.keepsEarlier ? nullptr : options.earlier, notesOf(place, options), options.comparesContent,
                  copy.listing().begun) {}

  HandedOut run() {
    count();
    // What an earlier process left lies here, and may be as large as the copy: it is removed before room is needed.
    result_.keptBefore = Publication::removeAbandoned(place_.parent);
    Publication publication(place_.parent);
    const bool atOnce = options_.earlier == nullptr || publication.exchangesAtOnce();
    if (!atOnce && options_.beforeTwoSteps) options_.beforeTwoSteps();
    write(publication);
    if (options_.beforePublication) {
      // By what the folder is, whatever name it has for now.
      const auto written = openFolderCopy("/proc/self/fd/" + std::to_string(publication.content().get()) + "/.");
      options_.beforePublication(*written, result_);
    }
    if (options_.earlier != nullptr) {
      replace(publication, atOnce);
    } else {
      place_.mayGiveWay ? publication.publishOverEmpty(place_.name) : publication.publish(place_.name);
    }
    if (!result_.isTakenBack) keepNotes();
    return std::move(result_);
  }

 private:
  static CopyNotes notesOf(const Place& place, const HandOutOptions& options) {
    const bool reads = options.earlier != nullptr && !options.keepsEarlier && options.storeFolder != nullptr;
    return reads ? readCopyNotes(*options.storeFolder, place.path()) : CopyNotes{};
  }

  void count() {
    progress_.allEntries = entries_.size();
    for (const Entry* entry : entries_) {
      progress_.allBytes += entry->size;
      ++(entry->kind == EntryKind::file   ? result_.files
         : entry->kind == EntryKind::link ? result_.links
                                          : result_.folders);
    }
  }

  void write(const Publication& publication) {
    const bool notes = options_.storeFolder != nullptr || takeover_.takes();
    FolderSink sink(publication, notes ? &takeover_ : nullptr);
    const bool isWhole = copy_.scope() == EntryTable::ROOT;
    const Source source(copy_.root(), options_.allowed, isWhole ? nullptr : &copy_.table()[copy_.scope()]);
    // Another folder under the project's name may hold what this one was to hold back.
    if (!(source.id == copy_.listing().root)) throw changed(copy_.root());
    const auto tell = [&](std::size_t copied, std::uint64_t bytes) {
      progress_.entries = copied;
      progress_.bytes = bytes;
      if (options_.onProgress) options_.onProgress(progress_);
    };
    result_.changed = copyTree(source, entries_, sink, tell, &result_.written);
    const std::string store = copy_.storeOfWhatIsShared();
    result_.store = {store.size(), sha256Of(store)};
    sink.addStore(store);
    sink.finish();
    for (const std::string& path : result_.changed)
      takeover_.forget(isWhole ? path : path.substr(copy_.scopePath().size() + 1));
    result_.bytes = progress_.bytes;
    result_.takenOver = takeover_.count();
  }

  // After the exchange nothing fails any more: the new copy is there. The earlier one is looked at once more, since up
  // to then somebody may have written to it. A file of its that was taken over would be a file of both: then all is as
  // before.
  void replace(Publication& publication, bool atOnce) {
    const EarlierCopy& earlier = *options_.earlier;
    const std::string digest = digestOf(takeover_.takes() ? takeover_.expected() : earlier.seen);
    publication.exchange(place_.name, idOf(statusOf(earlier.folder)), digest, atOnce);
    const bool untouched = isUntouched(earlier, digest);
    if (!untouched && takeover_.count() > 0) {
      publication.giveBack();
      result_.isTakenBack = true;
      return;
    }
    result_.kept = publication.earlierName();
    try {
      if (!untouched || options_.keepsEarlier) {
        result_.kept = publication.keepEarlier();
        return;
      }
      publication.giveUpEarlier(earlier.folder);
      result_.kept.clear();  // whoever comes next removes what cannot be removed now
      takeover_.release(publication.content());
      publication.removeEarlier(earlier.folder);
    } catch (const std::system_error&) {  // where it is, is told
    }
  }

  // A note that is lost costs a copy.
  void keepNotes() {
    try {
      if (options_.storeFolder != nullptr) writeCopyNotes(*options_.storeFolder, place_.path(), takeover_.notes());
    } catch (const std::system_error&) {
    }
  }

  const WorkingCopy& copy_;
  const Place& place_;
  const HandOutOptions& options_;
  const std::vector<const Entry*> entries_;
  Takeover takeover_;
  Progress progress_;
  HandedOut result_;
};

}  // namespace

// The order is what makes the promise: everything is in the private folder, durable, and noted in the receipt before
// the one rename that gives the copy its name. Whatever fails or is killed before that leaves nothing but the private
// folder, which is removed here, or by the next hand-out beside it.
HandedOut handOut(const WorkingCopy& copy, const Place& place, const HandOutOptions& options) {
  try {
    return Handing(copy, place, options).run();
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == EEXIST ? errors::DESTINATION_EXISTS : errors::COPY_FAILED, "cannot make", place.path(),
                        code);
  }
}

}  // namespace folder_host
