#include "folder_host/StagingFolder.h"

#include <fcntl.h>
#include <stdio.h>  // NOLINT(modernize-deprecated-headers): renameat2 is no part of <cstdio>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/Text.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

namespace {

constexpr std::string_view PREFIX = ".project-share-";
constexpr std::string_view LOCK = ".lock";
constexpr std::size_t UUID_LENGTH = 36;

void check(int result) {
  if (result != 0) throwErrno();
}

std::string lockNameOf(const std::string& name) { return name + std::string(LOCK); }

std::string lockTextOf(const std::string& name) { return "A copy is being put together in " + name + "\n"; }

// The name of the folder that a file of this name is the lock of; empty where it can be none.
std::string nameBehind(const std::string& lock) {
  if (lock.size() != PREFIX.size() + UUID_LENGTH + LOCK.size()) return {};
  const std::string name = lock.substr(0, PREFIX.size() + UUID_LENGTH);
  const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-'; };
  const bool ours = lockNameOf(name) == lock && name.compare(0, PREFIX.size(), PREFIX) == 0 &&
                    std::all_of(name.begin() + PREFIX.size(), name.end(), isDigit);
  return ours ? name : std::string();
}

std::string readStart(const Descriptor& file) {
  std::array<char, 256> bytes{};
  const ssize_t length = ::pread(file.get(), bytes.data(), bytes.size(), 0);
  if (length < 0) throwErrno();
  return {bytes.data(), static_cast<std::size_t>(length)};
}

// Folders are opened up on the way down, since their modes may forbid what has to be done in them.
void removeContent(const Descriptor& top) {
  std::vector<std::string> folders = {""};
  for (std::size_t next = 0; next < folders.size(); ++next) {
    const std::string folder = folders[next];
    const std::string name = folder.empty() ? "." : folder;
    check(::fchmodat(top.get(), name.c_str(), 0700, 0));
    for (const FolderItem& item : readFolder(openBeneath(top, name, O_RDONLY | O_DIRECTORY))) {
      const std::string path = joined(folder, item.name);
      if (item.type == S_IFDIR) {
        folders.push_back(path);
      } else {
        check(::unlinkat(top.get(), path.c_str(), 0));
      }
    }
  }
  for (std::size_t last = folders.size() - 1; last > 0; --last) {
    check(::unlinkat(top.get(), folders[last].c_str(), AT_REMOVEDIR));
  }
}

bool isMine(const struct stat& status, mode_t type) {
  return status.st_uid == ::geteuid() && (status.st_mode & static_cast<mode_t>(S_IFMT)) == type;
}

}  // namespace

// Between making the file and locking it, another process may take it for one that was left: then once more.
StagingFolder::Lock StagingFolder::makeLock(const Descriptor& parent) {
  while (true) {
    std::string name = std::string(PREFIX) + toBytes(project::metadata::generateUUID());
    Descriptor file = openBeneath(parent, lockNameOf(name), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) continue;
    try {
      if (statusOf(file).st_nlink > 0) return {std::move(name), std::move(file)};
    } catch (const std::system_error&) {
      ::unlinkat(parent.get(), lockNameOf(name).c_str(), 0);
      throw;
    }
  }
}

// Handed on to the private constructor, so that the lock goes when there can be no folder.
StagingFolder::StagingFolder(const Descriptor& parent) : StagingFolder(parent, makeLock(parent)) {
  writeAll(lock_.file, lockTextOf(lock_.name));
  check(::mkdirat(parent_.get(), lock_.name.c_str(), 0700));
  folder_ = openBeneath(parent_, lock_.name, O_RDONLY | O_DIRECTORY);
}

StagingFolder::StagingFolder(const Descriptor& parent, Lock lock) : parent_(parent), lock_(std::move(lock)) {}

StagingFolder::~StagingFolder() {
  try {
    if (!published_ && folder_.get() >= 0) removeContent(folder_);
  } catch (const std::exception&) {  // what cannot be removed now is what the next process finds
    return;
  }
  if (!published_ && ::unlinkat(parent_.get(), lock_.name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT) return;
  ::unlinkat(parent_.get(), lockNameOf(lock_.name).c_str(), 0);
}

void StagingFolder::syncContent() const { check(::syncfs(folder_.get())); }

void StagingFolder::publish(const std::string& name) {
  const char* own = lock_.name.c_str();
  check(::fsync(folder_.get()));
  check(::renameat2(parent_.get(), own, parent_.get(), name.c_str(), RENAME_NOREPLACE));
  published_ = true;
  if (::fsync(parent_.get()) == 0) return;
  const int failure = errno;
  published_ = ::renameat2(parent_.get(), name.c_str(), parent_.get(), own, RENAME_NOREPLACE) != 0;
  throw std::system_error(failure, std::generic_category());
}

void StagingFolder::removeAbandoned(const Descriptor& parent) {
  const auto asFarAsPossible = [](const auto& act) {
    try {
      act();
    } catch (const std::system_error&) {  // it stays, as before
    }
  };
  asFarAsPossible([&] {
    for (const FolderItem& item : readFolder(parent)) {
      const std::string name = nameBehind(item.name);
      if (!name.empty() && item.type == S_IFREG) asFarAsPossible([&] { removeBehind(parent, name); });
    }
  });
}

// A process that was killed may have left a lock without its whole text, but then no folder yet.
void StagingFolder::removeBehind(const Descriptor& parent, const std::string& name) {
  const Descriptor lock = openBeneath(parent, lockNameOf(name), O_RDONLY | O_NONBLOCK);
  const std::string text = readStart(lock);
  const std::string whole = lockTextOf(name);
  if (!isMine(statusOf(lock), S_IFREG) || whole.compare(0, text.size(), text) != 0) return;
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return;
  struct stat status {};
  if (::fstatat(parent.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (text != whole || !isMine(status, S_IFDIR)) return;
    check(::fchmodat(parent.get(), name.c_str(), 0700, 0));
    removeContent(openBeneath(parent, name, O_RDONLY | O_DIRECTORY));
    check(::unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR));
  }
  check(::unlinkat(parent.get(), lockNameOf(name).c_str(), 0));
}

}  // namespace folder_host
