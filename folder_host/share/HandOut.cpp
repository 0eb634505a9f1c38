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
#include "folder_host/share/read/ArchiveContent.h"
#include "folder_host/share/sinks/ArchiveSink.h"
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

namespace {

// Of a name that nobody else is shown.
constexpr const char* ARCHIVE = "archive";

// One hand-out, whatever it is written into.
class Work {
 public:
  Work(const WorkingCopy& copy, const HandOutOptions& options)
      : copy_(copy), options_(options), entries_(copy.entries()) {
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
    const Source source(copy_.root(), options_.allowed, copy_.scopePath());
    // Another folder under the project's name may hold what this one was to hold back.
    if (!(source.id == copy_.listing().root)) throw changed(copy_.root());
    options_.shape == Shape::folder ? copy(source, entries_, sink, result_.written) : copyAsTree(source, sink);
    if (!options_.isPlain) {
      const std::string store = copy_.storeOfWhatIsShared();
      result_.store = {store.size(), sha256Of(store)};
      sink.addStore(store);
    }
    sink.finish();
    result_.bytes = progress_.bytes;
  }

  void tell(CopyContent& written) const {
    if (options_.beforePublication) options_.beforePublication(written, result_);
  }

  HandedOut result() { return std::move(result_); }

 private:
  void copy(const Source& source, const std::vector<const Entry*>& entries, Sink& sink, std::vector<Written>& written) {
    const Entry top{{}, EntryKind::folder, {}};
    const bool isWhole = copy_.scope() == EntryTable::ROOT;
    const auto onProgress = [&](std::size_t copied, std::uint64_t bytes) {
      progress_.entries = copied;
      progress_.bytes = bytes;
      if (options_.onProgress) options_.onProgress(progress_);
    };
    const Entry& from = isWhole ? top : copy_.table()[copy_.scope()];
    result_.changed = copyTree(source, from, entries, sink, onProgress, &written);
  }

  // In the order of a tree, which is that in which an archive is unpacked.
  void copyAsTree(const Source& source, Sink& sink) {
    std::vector<std::size_t> order(entries_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t one, std::size_t other) {
      return beforeInTree(entries_[one]->path, entries_[other]->path);
    });
    std::vector<const Entry*> entries;
    entries.reserve(order.size());
    for (const std::size_t index : order) entries.push_back(entries_[index]);
    std::vector<Written> written;
    copy(source, entries, sink, written);
    result_.written.resize(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
      written[i].modified = timeIn(options_.shape, written[i].modified);
      result_.written[order[i]] = written[i];
    }
    std::sort(result_.changed.begin(), result_.changed.end());
  }

  const WorkingCopy& copy_;
  const HandOutOptions& options_;
  const std::vector<const Entry*> entries_;
  Progress progress_;
  HandedOut result_;
};

void makeFolder(Work& work, const Place& place) {
  Publication publication(place.parent);
  FolderSink sink(publication);
  work.writeInto(sink);
  // By what the folder is, whatever name it has for now.
  work.tell(*openFolderCopy("/proc/self/fd/" + std::to_string(publication.content().get()) + "/."));
  publication.publish(place.name);
}

// Nobody else gets into the private folder, so the file has the mode of any new one from the beginning.
void makeArchive(Work& work, const Place& place, Shape shape) {
  Publication publication(place.parent);
  const Descriptor file = openBeneath(publication.content(), ARCHIVE, O_RDWR | O_CREAT | O_EXCL, 0666);
  {
    ArchiveSink sink(file, shape);
    work.writeInto(sink);
  }
  Descriptor again(check(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0)));
  work.tell(*openArchiveCopy(std::move(again), place.path()));
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
    Publication::removeAbandoned(place.parent);
    options.shape == Shape::folder ? makeFolder(work, place) : makeArchive(work, place, options.shape);
    return work.result();
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
      work.tell(*sink.content());
    });
    return work.result();
  } catch (const Error& error) {
    throw Error(error.identifier(), error.what() + std::string("; throw away what was written to standard output: it "
                                                               "cannot be taken back, and has no end"));
  }
}

}  // namespace folder_host
