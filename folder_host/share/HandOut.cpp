#include "folder_host/share/HandOut.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <system_error>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/Replacement.h"
#include "folder_host/share/TreeCopy.h"
#include "folder_host/share/Unchanged.h"
#include "folder_host/share/read/ArchiveContent.h"
#include "folder_host/share/sinks/ArchiveSink.h"
#include "folder_host/share/sinks/FolderSink.h"

namespace folder_host {

Place checkDestination(const WorkingCopy& copy, const std::string& destination, Shape shape) {
  Place place = attempt(errors::DESTINATION_UNUSABLE, "there is no folder to hold", destination,
                        [&] { return placeOf(destination); });
  attempt(errors::DESTINATION_UNUSABLE, "cannot use", destination, [&] {
    if (liesIn(place, copy.listing().folders)) {
      throw Error(errors::DESTINATION_IN_PROJECT,
                  inQuotes(destination) + " lies in the project itself; choose a folder outside of it");
    }
    if (!isTaken(place)) return;
    place.mayGiveWay = shape == Shape::folder && givesWay(place);
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

// Of a name that nobody else is shown.
constexpr const char* ARCHIVE = "archive";

// The order of a tree, which is that in which an archive is unpacked.
std::vector<const Entry*> inOrder(const WorkingCopy& copy, Shape shape) {
  std::vector<const Entry*> entries = copy.entries();
  if (shape != Shape::folder) {
    std::sort(entries.begin(), entries.end(),
              [](const Entry* one, const Entry* other) { return beforeInTree(one->path, other->path); });
  }
  return entries;
}

// One hand-out, whatever it is written into.
class Work {
 public:
  Work(const WorkingCopy& copy, const HandOutOptions& options)
      : copy_(copy), options_(options), entries_(inOrder(copy, options.shape)) {
    requireFit(options.shape, entries_, copy.scopePath());
    progress_.allEntries = entries_.size();
    for (const Entry* entry : entries_) {
      progress_.allBytes += entry->size;
      ++(entry->kind == EntryKind::file   ? result_.files
         : entry->kind == EntryKind::link ? result_.links
                                          : result_.folders);
    }
  }

  void writeInto(Sink& sink) {
    const Source source = openSource();
    std::vector<Written> written;
    const CopyProgress onProgress = [&](std::size_t copied, std::uint64_t bytes) {
      progress_.entries = copied;
      progress_.bytes = bytes;
      if (options_.onProgress) options_.onProgress(progress_);
    };
    result_.changed = copyTree(source, entries_, sink, onProgress, &written);
    std::sort(result_.changed.begin(), result_.changed.end());
    setWritten(std::move(written));
    if (!options_.isPlain) {
      result_.store = {store().size(), sha256Of(store())};
      sink.addStore(store());
    }
    sink.finish();
    result_.bytes = progress_.bytes;
  }

  // Whether the earlier copy is what would be written: then that is the result.
  bool isWrittenBefore(const CopyNotes& known) {
    const EarlierCopy* earlier = options_.earlier;
    if (earlier == nullptr || options_.keepsEarlier || options_.comparesContent || options_.storeFolder == nullptr) {
      return false;
    }
    auto written = writtenBefore(*earlier, known, openSource(), entries_, options_.isPlain ? std::string() : store());
    if (!written) return false;
    result_.written = std::move(*written);
    if (!options_.isPlain) result_.store = {store().size(), sha256Of(store())};
    result_.bytes = progress_.allBytes;
    result_.takenOver = result_.files;
    return true;
  }

  // `written` is what was written; none where it cannot be read again.
  void tell(CopyContent* written) const {
    if (options_.beforePublication) options_.beforePublication(written, result_);
  }

  HandedOut& result() noexcept { return result_; }

 private:
  Source openSource() const {
    const bool isWhole = copy_.scope() == EntryTable::ROOT;
    Source source(copy_.root(), options_.allowed, isWhole ? nullptr : &copy_.table()[copy_.scope()]);
    // Another folder under the project's name may hold what this one was to hold back.
    if (!(source.id == copy_.listing().root)) throw changed(copy_.root());
    return source;
  }

  // The store that goes with the copy; made when it is first asked for.
  const std::string& store() {
    if (store_.empty()) store_ = copy_.storeOfWhatIsShared();
    return store_;
  }

  // In the order of the listing, in which the entries lie side by side.
  void setWritten(std::vector<Written> written) {
    for (Written& one : written) one.modified = timeIn(options_.shape, one.modified);
    if (std::is_sorted(entries_.begin(), entries_.end())) {
      result_.written = std::move(written);
      return;
    }
    std::vector<std::size_t> order(entries_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return entries_[a] < entries_[b]; });
    result_.written.reserve(order.size());
    for (const std::size_t at : order) result_.written.push_back(written[at]);
  }

  const WorkingCopy& copy_;
  const HandOutOptions& options_;
  std::vector<const Entry*> entries_;
  std::string store_;
  Progress progress_;
  HandedOut result_;
};

void makeFolder(Work& work, const Place& place, const WorkingCopy& copy, const HandOutOptions& options) {
  const bool isUpdate = options.earlier != nullptr && !options.keepsEarlier && options.storeFolder != nullptr;
  CopyNotes known = isUpdate ? readCopyNotes(*options.storeFolder, place.path()) : CopyNotes();
  if (work.isWrittenBefore(known)) {
    work.tell(openFolderCopy(place.path()).get());
    const FileId there = idOf(statusIn(place.parent, place.name));
    if (!(there == idOf(statusOf(options.earlier->folder)))) throw std::system_error(EEXIST, std::generic_category());
    return;
  }
  Publication publication(place.parent);
  Replacement replacement(publication, place, options, copy, std::move(known));
  FolderSink sink(publication, replacement.takeover());
  work.writeInto(sink);
  work.tell(openFolderCopy("/proc/self/fd/" + std::to_string(publication.content().get()) + "/.").get());
  replacement.publish(work.result());
}

// Nobody else gets into the private folder, so the file has the mode of any new one from the beginning.
void makeArchive(Work& work, const Place& place, Shape shape) {
  Publication publication(place.parent);
  const Descriptor file = openBeneath(publication.content(), ARCHIVE, O_RDWR | O_CREAT | O_EXCL, 0666);
  ArchiveSink sink(file, shape);
  work.writeInto(sink);
  work.tell(openArchiveCopy(Descriptor(check(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0))), place.path()).get());
  publication.publishFile(ARCHIVE, place.name);
}

}  // namespace

// The order is what makes the promise: everything is in the private folder, durable, and noted in the receipt before
// the one rename that gives the copy its name. Whatever fails or is killed before that leaves nothing but the private
// folder, which is removed here, or by the next hand-out beside it.
HandedOut handOut(const WorkingCopy& copy, const Place& place, const HandOutOptions& options) {
  try {
    Work work(copy, options);
    // What an earlier process left lies here, and may be as large as the copy: it is removed before room is needed.
    work.result().keptBefore = Publication::removeAbandoned(place.parent);
    if (options.shape == Shape::folder) {
      makeFolder(work, place, copy, options);
    } else {
      makeArchive(work, place, options.shape);
    }
    return std::move(work.result());
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == EEXIST ? errors::DESTINATION_EXISTS : errors::COPY_FAILED, "cannot make", place.path(),
                        code);
  }
}

void checkStream(const WorkingCopy& copy, const Descriptor& stream) {
  if (::isatty(stream.get()) == 1) {
    throw Error(errors::DESTINATION_UNUSABLE, "standard output is a terminal; send it into a pipe or a file");
  }
  attempt(errors::DESTINATION_UNUSABLE, "cannot use", "-", [&] {
    const FileId id = idOf(statusOf(stream));
    const auto& entries = copy.listing().entries;
    if (std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.id == id; })) {
      throw Error(errors::DESTINATION_IN_PROJECT,
                  "standard output goes into a file of the project itself; choose one outside of it");
    }
  });
}

HandedOut handOutTo(const Descriptor& stream, const WorkingCopy& copy, const HandOutOptions& options) {
  Work work(copy, options);
  try {
    attempt(errors::COPY_FAILED, "cannot write to", "-", [&] {
      ArchiveSink sink(stream, options.shape, options.hashesStream);
      work.writeInto(sink);
      work.tell(options.hashesStream ? sink.content().get() : nullptr);
    });
    return std::move(work.result());
  } catch (const Error& error) {
    throw Error(error.identifier(), error.what() + std::string("; throw away what was written to standard output: it "
                                                               "cannot be taken back, and has no end"));
  }
}

}  // namespace folder_host
