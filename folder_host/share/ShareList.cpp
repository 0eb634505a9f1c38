#include "folder_host/share/ShareList.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace folder_host {

namespace {

constexpr const char* NAME = "shares";

Descriptor openList(const Descriptor& storeFolder, int flags) {
  Descriptor list = openBeneath(storeFolder, NAME, flags | O_NONBLOCK, (flags & O_CREAT) != 0 ? 0600 : 0);
  if (!S_ISREG(statusOf(list).st_mode)) throw std::system_error(EINVAL, std::generic_category());
  return list;
}

}  // namespace

void checkShareList(const Descriptor& storeFolder) {
  check(::faccessat(storeFolder.get(), ".", W_OK, AT_EACCESS));
  try {
    openList(storeFolder, O_RDWR);
  } catch (const std::system_error& error) {
    if (error.code().value() != ENOENT) throw;
  }
}

// A process that was killed may have left half a line: the next one begins a new line then.
void addShare(const Descriptor& storeFolder, std::string_view line) {
  const Descriptor list = openList(storeFolder, O_RDWR | O_APPEND | O_CREAT);
  check(::flock(list.get(), LOCK_EX));
  const off_t size = statusOf(list).st_size;
  char last = '\n';
  if (size > 0) check(::pread(list.get(), &last, 1, size - 1));
  std::string bytes = size == 0 ? std::string(SHARE_LIST_HEAD) : std::string(last == '\n' ? "" : "\n");
  bytes.append(line).append("\n");
  writeAll(list, bytes);
  check(::fdatasync(list.get()));
}

std::vector<std::string> sharesListed(const Descriptor& storeFolder) {
  constexpr off_t MOST = off_t{16} << 20U;
  std::string bytes;
  try {
    const Descriptor list = openList(storeFolder, O_RDONLY);
    const off_t size = statusOf(list).st_size, from = std::max(off_t{0}, size - MOST);
    bytes.resize(static_cast<std::size_t>(size - from));
    bytes.resize(static_cast<std::size_t>(check(::pread(list.get(), bytes.data(), bytes.size(), from))));
    if (from > 0) bytes.erase(0, bytes.find('\n') + 1);
  } catch (const std::system_error& error) {
    if (error.code().value() != ENOENT) throw;
  }
  std::vector<std::string> lines;
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (!line.empty() && line != SHARE_LIST_HEAD.substr(0, SHARE_LIST_HEAD.size() - 1)) lines.emplace_back(line);
  }
  return lines;
}

}  // namespace folder_host
