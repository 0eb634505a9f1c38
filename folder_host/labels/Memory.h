#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace folder_host {

// UUIDs, sorted; in common to all that have the same. None where there are none.
using LabelNames = std::shared_ptr<const std::vector<std::u16string>>;

// One entry that had labels, or an exception, when it was seen last; or a folder on the way to one.
struct Remembered {
  // What is known where nothing is found of it.
  enum class Missing {
    unknown,    // nothing yet
    uncertain,  // it was not found when files could not be told by their identity: it may be under any name
    meant       // somebody said that it is meant so, or the entry has been settled under another name
  };

  LabelNames labels = {};
  LabelNames place = {};  // what its place gave it, where that was something else: it counts, too, once it goes on
  std::string from;       // where it got them: its path when it was settled last
  std::string at;         // where it was seen last
  EntryKind kind = EntryKind::file;
  std::optional<Identity> identity;  // none where the file system gives none that lasts
  std::uint64_t size = 0;            // of a file
  timespec modified = {};
  Missing missing = Missing::unknown;
  bool isWay = false;  // a folder without labels of which is known only that something lies in it that has some
};

// A memory begins so, under whatever name.
inline constexpr std::string_view MEMORY_HEAD = "project-share memory 1\n";

// What an edit says of entries: from then on what they have counts, and not what they had under other names.
struct Settled {
  std::vector<std::string> paths = {};
  bool withAllBelow = true;
  std::u16string label = {};  // as far as this label is concerned; empty: all
  bool isTakenOff = false;    // the label was detached: what is lost there need not be found for it
};

// What a folder remembers of the entries of its project that have labels, so that a label can be told to have followed
// a file whose name changed. It stands beside the store, in a file of its own, and is the folder's alone: no copy has
// it, and no mark depends on it. What it says of entries that are there only ever holds back more.
struct Memory {
  std::vector<Remembered> entries;
  timespec written = {};      // when it was noted last, by the clock
  bool isUnreadable = false;  // there is one, and it is damaged or strange: nothing of it is here
};

// The memory that lies in the store's folder; an empty one where there is none. Fails with std::system_error where it
// cannot be read.
Memory readMemory(const Descriptor& storeFolder);

// Replaces the memory in the store's folder: whoever reads it finds the one before or this one, whole. It is as open to
// others as the store is. Fails with std::system_error.
void writeMemory(const Descriptor& storeFolder, const Memory& memory);

// The bytes of a memory, and back; none of bytes that are not all of one.
std::string bytesOf(const Memory& memory);
std::optional<Memory> memoryIn(std::string_view bytes);

// Keeps other processes from replacing the memory as long as it is there: what was read is what is replaced. Fails with
// std::system_error, EAGAIN where another one has it for too long.
class MemoryLock {
 public:
  explicit MemoryLock(const Descriptor& storeFolder);

 private:
  Descriptor folder_;
};

}  // namespace folder_host
