#include "folder_host/share/CopyNotes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/text/Packing.h"

namespace folder_host {

namespace {

constexpr const char* FOLDER = "copies";
constexpr std::size_t DIGITS = 64;        // of a digest
constexpr std::size_t MOST_COPIES = 100;  // that are noted
constexpr std::uint64_t GIGA = 1000000000;

void putStamped(std::string& bytes, const timespec& time) {
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_sec));
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_nsec));
}

timespec stampedIn(Unpacker& parser) {
  const auto seconds = static_cast<time_t>(parser.number());
  return {seconds, static_cast<long>(parser.number(GIGA - 1))};
}

CopiedFile copiedIn(Unpacker& parser) {
  CopiedFile file;
  file.source.size = file.copy.size = parser.number();
  file.source.modified = file.copy.modified = stampedIn(parser);
  for (Stamp* stamp : {&file.source, &file.copy}) {
    stamp->inode = parser.number();
    stamp->changed = stampedIn(parser);
    stamp->born = stampedIn(parser);
  }
  return file;
}

// Anything may lie there: only a plain file of a size that was ever written is read.
std::string notedBytes(const Descriptor& folder, const std::string& name) {
  constexpr off_t MOST = off_t{1} << 30U;
  const Descriptor file = openBeneath(folder, name, O_RDONLY | O_NONBLOCK);
  const struct stat status = statusOf(file);
  if (!S_ISREG(status.st_mode) || status.st_size > MOST) return {};
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t length = 0;
  for (ssize_t more = 1; more > 0 && length < bytes.size(); length += static_cast<std::size_t>(more)) {
    more = check(::read(file.get(), &bytes[length], bytes.size() - length));
  }
  bytes.resize(length);
  return bytes;
}

// Keeps as many as are noted at most, the latest; half-written ones go with them.
void removeOldest(const Descriptor& folder) {
  std::vector<std::pair<std::pair<time_t, long>, std::string>> all;
  for (const FolderItem& item : readFolder(folder)) {
    if (item.type != S_IFREG) continue;
    const timespec time = statusIn(folder, item.name).st_mtim;
    all.push_back({{time.tv_sec, time.tv_nsec}, item.name});
  }
  std::sort(all.rbegin(), all.rend());
  for (std::size_t i = MOST_COPIES; i < all.size(); ++i) ::unlinkat(folder.get(), all[i].second.c_str(), 0);
}

}  // namespace

std::string bytesOf(const CopyNotes& notes, const std::string& destination) {
  std::string bytes(COPY_NOTES_HEAD);
  putText(bytes, destination);
  putNumber(bytes, notes.size());
  for (const auto& [path, file] : notes) {
    putText(bytes, path);
    putNumber(bytes, file.copy.size);
    putStamped(bytes, file.copy.modified);
    for (const Stamp* stamp : {&file.source, &file.copy}) {
      putNumber(bytes, stamp->inode);
      putStamped(bytes, stamp->changed);
      putStamped(bytes, stamp->born);
    }
  }
  return bytes + sha256Of(bytes);
}

std::optional<CopyNotes> copyNotesIn(std::string_view bytes, const std::string& destination) {
  const std::size_t least = COPY_NOTES_HEAD.size() + DIGITS;
  if (bytes.size() < least || bytes.substr(0, COPY_NOTES_HEAD.size()) != COPY_NOTES_HEAD) return std::nullopt;
  const std::string_view content = bytes.substr(0, bytes.size() - DIGITS);
  if (sha256Of(content) != bytes.substr(content.size())) return std::nullopt;
  Unpacker parser(content.substr(COPY_NOTES_HEAD.size()));
  if (parser.text() != destination) return std::nullopt;
  constexpr std::size_t LEAST = 14 * sizeof(std::uint64_t);  // of one file
  CopyNotes notes;
  for (std::size_t left = parser.count(LEAST); left > 0 && !parser.fails(); --left) {
    std::string path = parser.text();
    notes[std::move(path)] = copiedIn(parser);
  }
  return parser.isAtEnd() ? std::optional(std::move(notes)) : std::nullopt;
}

CopyNotes readCopyNotes(const Descriptor& storeFolder, const std::string& destination) {
  try {
    const Descriptor folder = openBeneath(storeFolder, FOLDER, O_PATH | O_DIRECTORY);
    return copyNotesIn(notedBytes(folder, sha256Of(destination)), destination).value_or(CopyNotes{});
  } catch (const std::system_error&) {
    return {};
  }
}

// Not made durable: what a power failure leaves is told by its digest, and costs copies alone.
void writeCopyNotes(const Descriptor& storeFolder, const std::string& destination, const CopyNotes& notes) {
  if (::mkdirat(storeFolder.get(), FOLDER, 0700) != 0 && errno != EEXIST) throwErrno();
  const Descriptor folder = openBeneath(storeFolder, FOLDER, O_RDONLY | O_DIRECTORY);
  const std::string name = sha256Of(destination), next = name + ".next";
  if (::unlinkat(folder.get(), next.c_str(), 0) != 0 && errno != ENOENT) throwErrno();
  writeAll(openBeneath(folder, next, O_WRONLY | O_CREAT | O_EXCL, 0600), bytesOf(notes, destination));
  check(::renameat(folder.get(), next.c_str(), folder.get(), name.c_str()));
  removeOldest(folder);
}

}  // namespace folder_host
