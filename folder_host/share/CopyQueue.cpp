#include "folder_host/share/CopyQueue.h"

#include <string_view>
#include <utility>

namespace folder_host {

namespace {

// A portion is so large that threads seldom meet at the lock, and so small that none is left with all that remains.
constexpr std::size_t MOST_ENTRIES = 128;
constexpr std::uint64_t MOST_BYTES = std::uint64_t{1} << 23U;

std::string_view folderOf(const Entry& entry) {
  const std::size_t separator = entry.path.rfind('/');
  return separator == std::string::npos ? std::string_view() : std::string_view(entry.path).substr(0, separator);
}

}  // namespace

// By folder: two threads that make files in one folder wait for each other.
CopyQueue::Portion CopyQueue::take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  Portion portion{next_, next_};
  std::uint64_t bytes = 0;
  const auto isFull = [&] { return portion.end - portion.begin >= MOST_ENTRIES || bytes >= MOST_BYTES; };
  while (isWanted(next_) && !isFull() && folderOf(*entries_[next_]) == folderOf(*entries_[portion.begin])) {
    bytes += entries_[next_]->size;
    portion.end = ++next_;
  }
  return portion;
}

// A later entry's failure is forgotten when an earlier one fails: which thread is faster must not decide what a person
// is told.
void CopyQueue::fail(std::size_t index, std::exception_ptr failure) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!isWanted(index)) return;
  end_ = index;
  failure_ = std::move(failure);
}

void CopyQueue::rethrow() const {
  if (failure_) std::rethrow_exception(failure_);
}

void CopyQueue::addChanged(std::size_t index) {
  const std::lock_guard<std::mutex> lock(mutex_);
  changed_.insert(index);
}

std::vector<std::string> CopyQueue::changed() const {
  std::vector<std::string> paths;
  for (const std::size_t index : changed_) paths.push_back(entries_[index]->path);
  return paths;
}

}  // namespace folder_host
