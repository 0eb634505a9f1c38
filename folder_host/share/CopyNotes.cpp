#include "folder_host/share/CopyNotes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/files/Times.h"
#include "folder_host/text/Packing.h"

namespace folder_host {

namespace {

constexpr const char* FOLDER = "copies";
constexpr std::size_t DIGITS = 64;        // of a digest
constexpr std::size_t MOST_COPIES = 100;  // that are noted

void put(std::string& bytes, std::string_view path, const CopiedFile& file) {
  putText(bytes, path);
  putNumber(bytes, file.copy.size);
  putTime(bytes, file.copy.modified);
  for (const Stamp* stamp : {&file.source, &file.copy}) {
    putNumber(bytes, stamp->inode);
    putTime(bytes, stamp->changed);
    putTime(bytes, stamp->born);
  }
}

CopiedFile copiedIn(Unpacker& parser) {
  CopiedFile file;
  file.source.size = file.copy.size = parser.number();
  file.source.modified = file.copy.modified = parser.time();
  for (Stamp* stamp : {&file.source, &file.copy}) {
    stamp->inode = parser.number();
    stamp->changed = parser.time();
    stamp->born = parser.time();
  }
  return file;
}

// Anything may lie there: only a plain file of a size that was ever written is read.
std::string notedBytes(const Descriptor& folder, const std::string& name) {
  constexpr off_t MOST = off_t{1} << 30U;
  const Descriptor file = openBeneath(folder, name, O_RDONLY | O_NONBLOCK);
  const struct stat status = statusOf(file);
  if (!S_ISREG(status.st_mode) || status.st_size > MOST) return {};
  return readAt(file, static_cast<std::size_t>(status.st_size), 0);
}

// Keeps as many as are noted at most, the latest; half-written ones go with them.
void removeOldest(const Descriptor& folder) {
  std::vector<std::pair<timespec, std::string>> all;
  for (const FolderItem& item : readFolder(folder)) {
    if (item.type != S_IFREG) continue;
    all.emplace_back(statusIn(folder, item.name).st_mtim, item.name);
  }
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return isEarlier(b.first, a.first); });
  for (std::size_t i = MOST_COPIES; i < all.size(); ++i) ::unlinkat(folder.get(), all[i].second.c_str(), 0);
}

}  // namespace

CopyNotes::CopyNotes(std::string bytes, const std::string& destination)
    : bytes_(std::move(bytes)), files_(filesIn(bytes_, destination)) {
  if (files_.empty()) bytes_ = {};
}

std::vector<std::size_t> CopyNotes::filesIn(std::string_view bytes, const std::string& destination) const {
  const std::size_t least = COPY_NOTES_HEAD.size() + DIGITS;
  if (bytes.size() < least || bytes.substr(0, COPY_NOTES_HEAD.size()) != COPY_NOTES_HEAD) return {};
  const std::string_view content = bytes.substr(0, bytes.size() - DIGITS);
  if (sha256Of(content) != bytes.substr(content.size())) return {};
  Unpacker parser(content.substr(COPY_NOTES_HEAD.size()));
  if (parser.text() != destination) return {};
  constexpr std::size_t LEAST = 14 * sizeof(std::uint64_t);  // of one file
  std::vector<std::size_t> files(parser.count(LEAST));
  std::string_view before;
  for (std::size_t& file : files) {
    file = content.size() - parser.left();
    const std::string_view path = parser.textInPlace();
    copiedIn(parser);
    if (path <= before) return {};
    before = path;
  }
  return parser.isAtEnd() ? files : std::vector<std::size_t>();
}

std::optional<CopiedFile> CopyNotes::find(std::string_view path) const {
  const auto from = [&](std::size_t file) { return Unpacker(std::string_view(bytes_).substr(file)); };
  const auto found =
      std::lower_bound(files_.begin(), files_.end(), path,
                       [&](std::size_t file, std::string_view other) { return from(file).textInPlace() < other; });
  if (found == files_.end()) return std::nullopt;
  Unpacker parser = from(*found);
  if (parser.textInPlace() != path) return std::nullopt;
  return copiedIn(parser);
}

CopyNotes readCopyNotes(const Descriptor& storeFolder, const std::string& destination) {
  try {
    const Descriptor folder = openBeneath(storeFolder, FOLDER, O_PATH | O_DIRECTORY);
    return {notedBytes(folder, sha256Of(destination)), destination};
  } catch (const std::system_error&) {
    return {};
  }
}

// Not made durable: what a power failure leaves is told by its digest, and costs copies alone. Written piece by piece,
// as there may be very many files.
void writeCopyNotes(const Descriptor& storeFolder, const std::string& destination, std::size_t count,
                    const std::function<void(const NoteFile&)>& noteAll) {
  constexpr std::size_t AT_ONCE = std::size_t{1} << 16U;
  if (::mkdirat(storeFolder.get(), FOLDER, 0700) != 0 && errno != EEXIST) throwErrno();
  const Descriptor folder = openBeneath(storeFolder, FOLDER, O_RDONLY | O_DIRECTORY);
  const std::string name = sha256Of(destination), next = name + ".next";
  if (::unlinkat(folder.get(), next.c_str(), 0) != 0 && errno != ENOENT) throwErrno();
  const Descriptor file = openBeneath(folder, next, O_WRONLY | O_CREAT | O_EXCL, 0600);
  Sha256 digest;
  std::string bytes(COPY_NOTES_HEAD);
  const auto write = [&] {
    digest.add(bytes);
    writeAll(file, bytes);
    bytes.clear();
  };
  putText(bytes, destination);
  putNumber(bytes, count);
  noteAll([&](std::string_view path, const CopiedFile& copied) {
    put(bytes, path, copied);
    if (bytes.size() >= AT_ONCE) write();
  });
  write();
  writeAll(file, digest.finish());
  check(::renameat(folder.get(), next.c_str(), folder.get(), name.c_str()));
  removeOldest(folder);
}

}  // namespace folder_host
