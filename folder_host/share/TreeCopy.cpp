#include "folder_host/share/TreeCopy.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <future>
#include <system_error>
#include <utility>

namespace folder_host {

namespace {

// From here on a second thread pays; an entry takes about as long as so many bytes.
constexpr std::uint64_t MUCH = 512;
constexpr std::uint64_t ENTRY = std::uint64_t{1} << 16U;
constexpr auto PAUSE = std::chrono::milliseconds(50);

using Tell = std::function<void()>;

bool isMuch(const std::vector<const Entry*>& entries) {
  std::uint64_t work = 0;
  for (const Entry* entry : entries) work += 1 + entry->size / ENTRY;
  return work >= MUCH;
}

// A thread that is started meanwhile takes no signal: each reaches a thread that was there before.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~WithoutSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;

 private:
  sigset_t before_{};
};

// All of them before any file, so that whatever thread copies a file finds its folder.
void copyFolders(const Source& source, CopyQueue& queue, Sink& sink, const Tell& tell) {
  EntryReader reader(source);
  sink.addFolder(reader.openTop());
  for (std::size_t i = 0; queue.isWanted(i); ++i) {
    if (queue[i].kind != EntryKind::folder) continue;
    try {
      const OpenEntry folder = reader.open(queue[i]);
      sink.addFolder(folder);
      queue.note(i, {0, folder.status.st_mtim, folder.permissions});
      queue.addEntry();
    } catch (const Error&) {
      queue.fail(i, std::current_exception());
    }
    tell();
  }
}

// May run in several threads at once. Where a file is no longer wanted, what is thrown to leave it does not count.
void copyFiles(const Source& source, CopyQueue& queue, Sink::Writer& writer, const Tell& tell) {
  EntryReader reader(source);
  std::size_t at = 0;
  std::uint64_t size = 0;
  const Sink::Told told = [&](std::uint64_t bytes) {
    queue.addBytes(bytes);
    size += bytes;
    tell();
    if (!queue.isWanted(at)) throw changed(queue[at].path);
  };
  for (auto portion = queue.take(); portion.begin != portion.end; portion = queue.take()) {
    for (at = portion.begin; at != portion.end && queue.isWanted(at); ++at) {
      if (queue[at].kind == EntryKind::folder) continue;
      try {
        const OpenEntry entry = reader.open(queue[at]);
        const bool isFile = entry.entry.kind == EntryKind::file;
        size = 0;
        isFile ? writer.addFile(entry, told) : writer.addLink(entry);
        if (isFile ? !reader.isUnchanged(entry) : entry.hasChanged) queue.addChanged(at);
        queue.note(at, {size, entry.status.st_mtim, entry.permissions});
        queue.addEntry();
        tell();
      } catch (...) {
        queue.fail(at, std::current_exception());
      }
    }
  }
}

// Where the system gives no second thread, one does it all.
std::future<void> startHelper(const Source& source, CopyQueue& queue, Sink& sink) {
  const WithoutSignals guard;
  try {
    return std::async(std::launch::async,
                      [&source, &queue, writer = sink.writer()] { copyFiles(source, queue, *writer, [] {}); });
  } catch (const std::system_error&) {
    return {};
  }
}

}  // namespace

// What the caller throws is kept until no thread is at work any more.
std::vector<std::string> copyTree(const Source& source, const std::vector<const Entry*>& entries, Sink& sink,
                                  const CopyProgress& onProgress, std::vector<Written>* written) {
  if (written != nullptr) written->resize(entries.size());
  CopyQueue queue(entries, written);
  std::exception_ptr thrown;
  const Tell tell = [&] {
    try {
      if (onProgress && !thrown) onProgress(queue.entries(), queue.bytes());
    } catch (...) {
      thrown = std::current_exception();
      queue.stop();
    }
  };
  copyFolders(source, queue, sink, tell);
  // The second thread hides the waiting for the disk. For a small copy it would take longer to start than to help.
  const bool helps = sink.takesSeveralWriters() && isMuch(entries);
  std::future<void> helper = helps ? startHelper(source, queue, sink) : std::future<void>();
  copyFiles(source, queue, *sink.writer(), tell);
  // This thread tells how far the other one is: the caller's function is never called in a thread that it does not
  // know.
  while (helper.valid() && helper.wait_for(PAUSE) != std::future_status::ready) tell();
  if (helper.valid()) helper.get();
  tell();
  if (thrown) std::rethrow_exception(thrown);
  queue.rethrow();
  return queue.changed();
}

}  // namespace folder_host
