#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "folder_host/files/Listing.h"

namespace folder_host {

// What a copy of an entry has got.
struct Written {
  std::uint64_t size = 0;  // of a file: as much as was read
  timespec modified = {};
  mode_t mode = 0;  // of a link, 0
};

// The files and links that are to be copied, portion by portion in the order of the listing, and how far that is. May
// be used by several threads at once; the entries outlive it.
//
// Of several failures the one that counts is the first in the order of the listing, as if one thread alone had copied:
// what comes before a failure is still copied, what comes after it no more.
class CopyQueue {
 public:
  struct Portion {
    std::size_t begin;
    std::size_t end;  // where it begins, when nothing is left to be done
  };

  // `written`, where it is given, has room for what is noted of each.
  explicit CopyQueue(const std::vector<const Entry*>& entries, std::vector<Written>* written = nullptr)
      : entries_(entries), written_(written), end_(entries.size()) {}

  const Entry& operator[](std::size_t index) const noexcept { return *entries_[index]; }

  // The next entries that lie in one folder, folders among them: few enough that no thread waits long for another.
  Portion take();

  // Whether the entry is still to be copied.
  bool isWanted(std::size_t index) const noexcept { return index < end_; }

  // Nothing from this entry on is to be copied any more.
  void fail(std::size_t index, std::exception_ptr failure);
  void stop() { fail(0, nullptr); }
  // Throws the failure that counts.
  void rethrow() const;

  // Notes that the entry changed while it was copied.
  void addChanged(std::size_t index);
  // The paths of those, in the order of the listing. Not to be called while others are at work.
  std::vector<std::string> changed() const;

  // By the thread alone that copies the entry.
  void note(std::size_t index, const Written& written) noexcept {
    if (written_ != nullptr) (*written_)[index] = written;
  }

  void addEntry() noexcept { ++done_; }
  void addBytes(std::uint64_t bytes) noexcept { bytes_ += bytes; }
  std::size_t entries() const noexcept { return done_; }
  std::uint64_t bytes() const noexcept { return bytes_; }

 private:
  const std::vector<const Entry*>& entries_;
  std::vector<Written>* written_;
  std::mutex mutex_;  // of next_, failure_ and changed_, and of whoever changes end_
  std::size_t next_ = 0;
  std::exception_ptr failure_;
  std::set<std::size_t> changed_;
  std::atomic<std::size_t> end_;
  std::atomic<std::size_t> done_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
};

}  // namespace folder_host
