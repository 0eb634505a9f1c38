#include "folder_host/labels/Memory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

#include "folder_host/files/Digest.h"
#include "folder_host/store/Blob.h"
#include "folder_host/text/Packing.h"
#include "folder_host/text/Utf.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

namespace {

constexpr const char* NAME = "memory";
constexpr const char* NEXT = "memory.next";
constexpr std::size_t DIGEST = 64;

using LabelSets = std::vector<LabelNames>;

void put(std::string& bytes, const Remembered& entry) {
  putText(bytes, entry.from);
  putText(bytes, entry.at == entry.from ? std::string() : entry.at);
  putNumber(bytes, static_cast<std::uint64_t>(entry.kind));
  const Identity identity = entry.identity.value_or(Identity{});
  for (const std::uint64_t number : {identity.fileSystem, identity.inode}) putNumber(bytes, number);
  putTime(bytes, {identity.bornSeconds, static_cast<long>(identity.bornNanoseconds)});
  putNumber(bytes, entry.size);
  putTime(bytes, entry.modified);
  putNumber(bytes, static_cast<std::uint64_t>(entry.missing));
  putNumber(bytes, entry.isWay ? 1 : 0);
}

Remembered entryIn(Unpacker& parser, const LabelSets& sets) {
  Remembered entry;
  for (LabelNames* names : {&entry.labels, &entry.place}) {
    const auto set = static_cast<std::size_t>(parser.number(sets.size()));  // 0: none
    if (set != 0) *names = sets[set - 1];
  }
  entry.from = parser.text();
  entry.at = parser.text();
  if (entry.at.empty()) entry.at = entry.from;
  entry.kind = static_cast<EntryKind>(parser.number(2));
  Identity identity;
  identity.fileSystem = parser.number();
  identity.inode = parser.number();
  const timespec born = parser.time();
  identity.bornSeconds = born.tv_sec;
  identity.bornNanoseconds = born.tv_nsec;
  if (identity.fileSystem != 0) entry.identity = identity;
  entry.size = parser.number();
  entry.modified = parser.time();
  entry.missing = static_cast<Remembered::Missing>(parser.number(2));
  entry.isWay = parser.number(1) != 0;
  return entry;
}

// Frees a name of ours. A folder, which is nobody's here, is moved aside: there may be something in it.
void clear(const Descriptor& folder, const char* name) {
  if (::unlinkat(folder.get(), name, 0) == 0 || errno == ENOENT) return;
  if (errno != EISDIR) throwErrno();
  const std::string aside = std::string(name) + "-" + toBytes(project::metadata::generateUUID());
  check(::renameat(folder.get(), name, folder.get(), aside.c_str()));
}

}  // namespace

// The sets of labels stand before the entries, once each: most entries have one of a few.
std::string bytesOf(const Memory& memory) {
  std::map<LabelNames, std::size_t> numbers{{nullptr, 0}};
  std::vector<LabelNames> sets;
  std::string entries;
  for (const Remembered& entry : memory.entries) {
    for (const LabelNames& names : {entry.labels, entry.place}) {
      const auto [known, isNew] = numbers.emplace(names, sets.size() + 1);
      if (isNew) sets.push_back(names);
      putNumber(entries, known->second);
    }
    put(entries, entry);
  }
  std::string bytes(MEMORY_HEAD);
  putTime(bytes, memory.written);
  putNumber(bytes, sets.size());
  for (const LabelNames& set : sets) {
    putNumber(bytes, set->size());
    for (const std::u16string& uuid : *set) putText(bytes, toBlob(uuid));
  }
  putNumber(bytes, memory.entries.size());
  bytes += entries;
  return bytes + sha256Of(bytes);
}

std::optional<Memory> memoryIn(std::string_view bytes) {
  if (bytes.size() < MEMORY_HEAD.size() + DIGEST || bytes.substr(0, MEMORY_HEAD.size()) != MEMORY_HEAD)
    return std::nullopt;
  const std::string_view content = bytes.substr(0, bytes.size() - DIGEST);
  if (sha256Of(content) != bytes.substr(content.size())) return std::nullopt;
  Unpacker parser(content.substr(MEMORY_HEAD.size()));
  Memory memory;
  memory.written = parser.time();
  LabelSets sets(parser.count(sizeof(std::uint64_t)));
  for (LabelNames& set : sets) {
    std::vector<std::u16string> uuids(parser.count(sizeof(std::uint64_t)));
    for (std::u16string& uuid : uuids) {
      const std::string blob = parser.text();
      if (blob.size() % 2 != 0) return std::nullopt;
      uuid = fromBlob(blob);
    }
    set = std::make_shared<const std::vector<std::u16string>>(std::move(uuids));
  }
  constexpr std::size_t LEAST = 14 * sizeof(std::uint64_t);  // of one entry
  memory.entries.reserve(parser.count(LEAST));
  for (std::size_t left = memory.entries.capacity(); left > 0; --left) {
    memory.entries.push_back(entryIn(parser, sets));
    if (parser.fails()) return std::nullopt;
  }
  return parser.isAtEnd() ? std::optional(std::move(memory)) : std::nullopt;
}

// What is damaged, or something else in its place, is made anew, and who depends on it is told. What merely cannot be
// read now must not be replaced: it may be whole.
Memory readMemory(const Descriptor& storeFolder) {
  constexpr off_t MOST = off_t{1} << 30U;
  try {
    const Descriptor file = openBeneath(storeFolder, NAME, O_RDONLY | O_NONBLOCK);
    const struct stat status = statusOf(file);
    if (S_ISREG(status.st_mode) && status.st_size <= MOST) {
      if (auto memory = memoryIn(readAt(file, static_cast<std::size_t>(status.st_size), 0))) return *std::move(memory);
    }
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    if (code == ENOENT) return {};
    if (code != ELOOP && code != ENXIO) throw;  // a link; a pipe or a socket
  }
  Memory unreadable;
  unreadable.isUnreadable = true;
  return unreadable;
}

void writeMemory(const Descriptor& storeFolder, const Memory& memory) {
  clear(storeFolder, NEXT);
  struct stat status {};
  if (::fstatat(storeFolder.get(), STORE_NAME, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    status = statusIn(storeFolder, ADDRESS_NAME);
  }
  {
    const Descriptor file = openBeneath(storeFolder, NEXT, O_WRONLY | O_CREAT | O_EXCL, 0600);
    check(::fchmod(file.get(), status.st_mode & 0666U));
    writeAll(file, bytesOf(memory));
    check(::fdatasync(file.get()));
  }
  if (::renameat(storeFolder.get(), NEXT, storeFolder.get(), NAME) != 0) {
    if (errno != EISDIR) throwErrno();
    clear(storeFolder, NAME);
    check(::renameat(storeFolder.get(), NEXT, storeFolder.get(), NAME));
  }
  check(::fsync(openBeneath(storeFolder, ".", O_RDONLY | O_DIRECTORY).get()));
}

MemoryLock::MemoryLock(const Descriptor& storeFolder) : folder_(openBeneath(storeFolder, ".", O_RDONLY | O_DIRECTORY)) {
  constexpr int TRIES = 200;
  constexpr useconds_t PAUSE = 10000;
  for (int tries = 0; ::flock(folder_.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (errno != EWOULDBLOCK || tries == TRIES) throwErrno();
    ::usleep(PAUSE);
  }
}

}  // namespace folder_host
