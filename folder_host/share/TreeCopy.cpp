#include "folder_host/share/TreeCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <exception>
#include <system_error>
#include <utility>

#include "folder_host/files/Permissions.h"
#include "folder_host/share/CopySteps.h"
#include "folder_host/share/FileCopy.h"

namespace folder_host {

namespace {

// From here on a second thread pays; an entry takes about as long as so many bytes.
constexpr std::uint64_t MUCH = 512;
constexpr std::uint64_t ENTRY = std::uint64_t{1} << 16U;
constexpr auto PAUSE = std::chrono::milliseconds(50);

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

}  // namespace

TreeCopy::TreeCopy(const std::string& root, const Descriptor& target, Options options)
    : source_(reading(root, [&] { return openFolder(root); })), target_(target), options_(std::move(options)) {
  const struct stat status = reading(root, [&] { return statusOf(source_); });
  root_ = idOf(status);
  addFolder(".", source_, status);
  struct stat store {};
  if (::fstatat(source_.get(), STORE_FILE, &store, AT_SYMLINK_NOFOLLOW) == 0) store_ = idOf(store);
}

// What the caller throws is kept until no thread is at work any more.
void TreeCopy::copy(const std::vector<const Entry*>& entries) {
  CopyQueue queue(entries);
  std::exception_ptr thrown;
  const auto tell = [&] {
    try {
      if (options_.onProgress && !thrown) options_.onProgress(queue.entries(), queue.bytes());
    } catch (...) {
      thrown = std::current_exception();
      queue.stop();
    }
  };
  makeFolders(entries, queue, tell);
  std::future<void> helper = isMuch(entries) ? startHelper(queue) : std::future<void>();
  copyFiles(queue, tell);
  while (helper.valid() && helper.wait_for(PAUSE) != std::future_status::ready) tell();
  if (helper.valid()) helper.get();
  tell();
  changed_ = queue.changed();
  if (thrown) std::rethrow_exception(thrown);
  queue.rethrow();
}

// All of them first, so that whatever thread copies a file finds its folder.
void TreeCopy::makeFolders(const std::vector<const Entry*>& entries, CopyQueue& queue, const Tell& tell) {
  for (std::size_t i = 0; queue.isWanted(i); ++i) {
    if (entries[i]->kind != EntryKind::folder) continue;
    try {
      makeFolder(*entries[i]);
      queue.addEntry();
    } catch (const Error&) {
      queue.fail(i, std::current_exception());
    }
    tell();
  }
}

void TreeCopy::makeFolder(const Entry& folder) {
  const Descriptor opened =
      reading(folder.path, [&] { return openBeneath(source_, folder.path, O_RDONLY | O_DIRECTORY); });
  const struct stat status = reading(folder.path, [&] { return statusOf(opened); });
  requireListed(folder, S_IFDIR, status);
  addFolder(folder.path, opened, status);
  checkWritten(::mkdirat(target_.get(), folder.path.c_str(), 0700), folder.path);
}

void TreeCopy::addFolder(const std::string& path, const Descriptor& opened, const struct stat& status) {
  const mode_t mode = reading(path, [&] { return permissionsOf(opened, status); });
  folders_.push_back({path, mode, times(status)});
}

// May run in several threads at once. Where a file is no longer wanted, what is thrown to leave it does not count.
void TreeCopy::copyFiles(CopyQueue& queue, const Tell& tell) const {
  std::size_t at = 0;
  FileCopy files({source_, target_, store_, options_.allowed}, [&](std::uint64_t bytes) {
    queue.addBytes(bytes);
    tell();
    if (!queue.isWanted(at)) throw changed(queue[at].path);
  });
  for (auto portion = queue.take(); portion.begin != portion.end; portion = queue.take()) {
    for (at = portion.begin; at != portion.end && queue.isWanted(at); ++at) {
      if (queue[at].kind == EntryKind::folder) continue;
      try {
        if (!files.add(queue[at])) queue.addChanged(at);
        queue.addEntry();
        tell();
      } catch (...) {
        queue.fail(at, std::current_exception());
      }
    }
  }
}

std::future<void> TreeCopy::startHelper(CopyQueue& queue) const {
  const WithoutSignals guard;
  try {
    return std::async(std::launch::async, [this, &queue] { copyFiles(queue, [] {}); });
  } catch (const std::system_error&) {
    return {};
  }
}

// From the deepest up: a folder's mode may forbid what is still to be done below it.
void TreeCopy::finishFolders() {
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    const std::string& path = folder->path;
    const Descriptor copy = writing(path, [&] { return openBeneath(target_, path, O_RDONLY | O_DIRECTORY); });
    checkWritten(::futimens(copy.get(), folder->times.data()), path);
    checkWritten(::fchmod(copy.get(), folder->mode), path);
  }
}

}  // namespace folder_host
