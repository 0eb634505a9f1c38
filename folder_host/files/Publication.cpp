#include "folder_host/files/Publication.h"

#include <fcntl.h>
#include <stdio.h>  // NOLINT(modernize-deprecated-headers): renameat2 is no part of <cstdio>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/files/FolderState.h"
#include "folder_host/files/LockText.h"
#include "folder_host/text/Utf.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

namespace {

constexpr std::size_t LONGEST_LOCK = 2048;

// Lets the owner do what has to be done in it, by what it is: its name may lead elsewhere by now.
void openUp(const Descriptor& folder) {
  if ((statusOf(folder).st_mode & 0700U) == 0700U) return;
  check(::chmod(("/proc/self/fd/" + std::to_string(folder.get())).c_str(), 0700));
}

Descriptor openBelow(const Descriptor& top, const std::string& folder) {
  return openBeneath(top, folder.empty() ? "." : folder, O_PATH | O_DIRECTORY);
}

// Emptied by what the folders are and not by their names, from the top down into a list and then from the bottom up: a
// link that was put in the place of a folder meanwhile leads nowhere.
void removeContent(const Descriptor& top) {
  openUp(top);
  std::vector<std::string> folders = {""};
  for (std::size_t next = 0; next < folders.size(); ++next) {
    const Descriptor folder = openBelow(top, folders[next]);
    openUp(folder);
    for (const FolderItem& item : readFolder(folder)) {
      if (item.type == S_IFDIR) {
        folders.push_back(joined(folders[next], item.name));
      } else {
        check(::unlinkat(folder.get(), item.name.c_str(), 0));
      }
    }
  }
  for (std::size_t last = folders.size() - 1; last > 0; --last) {
    const std::string& path = folders[last];
    const std::size_t name = path.rfind('/') + 1;  // npos + 1 is 0
    const Descriptor above = openBelow(top, path.substr(0, name));
    check(::unlinkat(above.get(), path.c_str() + name, AT_REMOVEDIR));
  }
}

// Whether the system call that was made last failed because the file system does not know what was asked for.
bool isUnknownCall() { return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP; }

// Some file systems know no rename that refuses to replace. Better known before there is anything to be lost.
bool canRefuseToReplace(const Descriptor& folder) {
  openBeneath(folder, "probe", O_WRONLY | O_CREAT | O_EXCL, 0600);
  const bool can = ::renameat2(folder.get(), "probe", folder.get(), "probed", RENAME_NOREPLACE) == 0;
  if (!can && !isUnknownCall()) throwErrno();
  check(::unlinkat(folder.get(), can ? "probed" : "probe", 0));
  return can;
}

// The system call that knows flags is the one that some file systems refuse.
void rename(const Descriptor& from, const std::string& old, const Descriptor& to, const std::string& name,
            bool replaces) {
  const char* source = old.c_str();
  check(replaces ? ::renameat(from.get(), source, to.get(), name.c_str())
                 : ::renameat2(from.get(), source, to.get(), name.c_str(), RENAME_NOREPLACE));
}

void refuse(int code) { throw std::system_error(code, std::generic_category()); }

void sync(const Descriptor& descriptor) { check(::fsync(descriptor.get())); }

bool isMine(const struct stat& status, mode_t type) {
  return status.st_uid == ::geteuid() && (status.st_mode & static_cast<mode_t>(S_IFMT)) == type;
}

bool isThere(const Descriptor& parent, const std::string& name) {
  struct stat status {};
  if (::fstatat(parent.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return true;
  if (errno != ENOENT) throwErrno();
  return false;
}

// Where no rename refuses to replace, only an empty folder that was made here gives way.
bool renameUnlessTaken(const Descriptor& parent, const std::string& old, const std::string& name) {
  if (::renameat2(parent.get(), old.c_str(), parent.get(), name.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno == EEXIST) return false;
  if (!isUnknownCall()) throwErrno();
  if (::mkdirat(parent.get(), name.c_str(), 0700) != 0) {
    if (errno == EEXIST) return false;
    throwErrno();
  }
  rename(parent, old, parent, name, true);
  return true;
}

// Gives it the first free name of NAME.old, NAME.old-2 ...
std::string renameToFree(const Descriptor& parent, const std::string& old, const std::string& name) {
  constexpr std::size_t MOST = 240;  // of the bytes of a name
  const std::string base = name.substr(0, MOST) + ".old";
  for (std::size_t number = 1;; ++number) {
    std::string free = number == 1 ? base : base + "-" + std::to_string(number);
    if (renameUnlessTaken(parent, old, free)) return free;
  }
}

// What a process that was killed left under a name and beside it.
class Abandoned {
 public:
  Abandoned(const Descriptor& parent, std::string name)
      : parent_(parent), name_(std::move(name)), lock_(openBeneath(parent, lockNameOf(name_), O_RDONLY | O_NONBLOCK)) {}

  // It may have left a lock without its whole text: then nothing is in its folder yet, or no more. What was given the
  // folder's name later, by whoever may write beside it, is another folder, and stays. Without its lock, nobody would
  // find it again.
  void remove(std::vector<std::string>& kept) {
    if (!isMine(statusOf(lock_), S_IFREG) || ::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0) return;
    text_ = LockText(readAt(lock_, LONGEST_LOCK, 0), name_);
    if (!text_.isOurs) return;
    for (const std::string& name : {asideNameOf(name_), name_}) {
      if (!text_.earlier.empty() || name == name_) settle(name, kept);
    }
    check(::unlinkat(parent_.get(), lockNameOf(name_).c_str(), 0));
  }

 private:
  // Throws where something is left.
  void settle(const std::string& name, std::vector<std::string>& kept) {
    if (!isThere(parent_, name)) return;
    const Descriptor folder = openBeneath(parent_, name, O_PATH | O_DIRECTORY);
    const struct stat status = statusOf(folder);
    if (!isMine(status, S_IFDIR)) refuse(EPERM);
    const bool isEarlier = text_.replaced(idOf(status)) && !text_.owns(idOf(status));
    // Between two renames nothing had the name: the earlier folder gets it back.
    if (isEarlier && name != name_ && renameUnlessTaken(parent_, name, text_.name)) return;
    if (isEarlier && !looksAsNoted(folder)) {
      kept.push_back(renameToFree(parent_, name, text_.name));
      return;
    }
    if (isEarlier || text_.owns(idOf(status))) removeContent(folder);
    check(::unlinkat(parent_.get(), name.c_str(), AT_REMOVEDIR));
  }

  bool looksAsNoted(const Descriptor& folder) const {
    try {
      return digestOf(stateOf(folder)) == text_.digest;
    } catch (const std::system_error&) {
      return false;
    }
  }

  const Descriptor& parent_;
  std::string name_;
  Descriptor lock_;
  LockText text_{{}, {}};
};

}  // namespace

// Between making the file and locking it, another process may take it for one that was left: then once more.
Publication::Lock Publication::makeLock(const Descriptor& parent) {
  while (true) {
    std::string name = stagingNameOf(toBytes(project::metadata::generateUUID()));
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

// Handed on to the private constructor, so that the lock is removed where no folder can be made.
Publication::Publication(const Descriptor& parent) : Publication(parent, makeLock(parent)) {
  writeAll(lock_.file, lockTextOf(lock_.name));
  check(::mkdirat(parent_.get(), lock_.name.c_str(), 0700));
  folder_ = openBeneath(parent_, lock_.name, O_RDONLY | O_DIRECTORY);
  writeAll(lock_.file, ownLineOf(idOf(statusOf(folder_))));
  refusesToReplace_ = canRefuseToReplace(folder_);
}

Publication::Publication(const Descriptor& parent, Lock lock) : parent_(parent), lock_(std::move(lock)) {}

// An exception may be on its way already: nothing here may throw, and what cannot be removed now is left to be found by
// its lock.
Publication::~Publication() {
  const bool isHere = published_.empty();
  try {
    if (isHere && folder_.get() >= 0) removeContent(folder_);
  } catch (const std::exception&) {  // what cannot be removed now is what the next process finds
    return;
  }
  if (isHere && ::unlinkat(parent_.get(), lock_.name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT) return;
  if (!earlierName_.empty()) return;  // the next process finds that by the lock, too
  // By whatever name it goes on: it stands for no folder any more, and for none that somebody gives this name.
  static_cast<void>(::ftruncate(lock_.file.get(), 0) == 0);
  ::unlinkat(parent_.get(), lockNameOf(lock_.name).c_str(), 0);
}

// For all of the copy at once: an fsync for each file would wait for the disk as often as there are files.
void Publication::syncContent() const { check(::syncfs(folder_.get())); }

// Only an empty folder gives way to a folder: what was put in there since it was made is safe.
void Publication::publish(const std::string& name) {
  if (refusesToReplace_) return nameFolder(name, false);
  check(::mkdirat(parent_.get(), name.c_str(), 0700));
  try {
    nameFolder(name, true);
  } catch (const std::system_error&) {
    ::unlinkat(parent_.get(), name.c_str(), AT_REMOVEDIR);
    throw;
  }
}

void Publication::publishOverEmpty(const std::string& name) {
  struct stat status {};
  if (::fstatat(parent_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) emptied_ = status.st_mode & 07777U;
  nameFolder(name, true);
}

// Its content is durable before its name is: after a power failure, a copy that has its name must be whole.
void Publication::nameFolder(const std::string& name, bool replaces) {
  sync(folder_);
  try {
    rename(parent_, lock_.name, parent_, name, replaces);
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    // Either tells that the name is taken: by a folder that holds something, or by what is no folder.
    refuse(code == ENOTEMPTY || code == ENOTDIR ? EEXIST : code);
  }
  // From here on the destructor leaves the folder alone. A name that may not last is taken back, as the caller reports
  // a failure, and there must be no copy then.
  published_ = name;
  try {
    sync(parent_);  // the name
  } catch (const std::system_error&) {
    takeBack();
    throw;
  }
}

void Publication::takeBack() {
  const bool isBack = ::renameat(parent_.get(), published_.c_str(), parent_.get(), lock_.name.c_str()) == 0;
  if (!isBack) return;
  if (emptied_) static_cast<void>(::mkdirat(parent_.get(), published_.c_str(), *emptied_) == 0);
  published_.clear();
}

bool Publication::exchangesAtOnce() const {
  constexpr const char* PROBES[] = {"probe", "probed"};
  for (const char* probe : PROBES) check(::mkdirat(folder_.get(), probe, 0700));
  const bool does = ::renameat2(folder_.get(), PROBES[0], folder_.get(), PROBES[1], RENAME_EXCHANGE) == 0;
  if (!does && !isUnknownCall()) throwErrno();
  for (const char* probe : PROBES) check(::unlinkat(folder_.get(), probe, AT_REMOVEDIR));
  return does;
}

// What is about to happen is noted before it happens, durably: whoever finds the folders later knows which is which.
void Publication::exchange(const std::string& name, const FileId& earlier, const std::string& digest, bool atOnce) {
  sync(folder_);
  writeAll(lock_.file, earlierLineOf(earlier, digest, name));
  sync(lock_.file);
  if (!(idOf(statusIn(parent_, name)) == earlier)) refuse(EEXIST);
  if (!atOnce) {
    swapInTwoSteps(name, earlier);
  } else {
    check(::renameat2(parent_.get(), lock_.name.c_str(), parent_.get(), name.c_str(), RENAME_EXCHANGE));
    earlierName_ = lock_.name;
  }
  published_ = name;
  try {
    if (!(idOf(statusIn(parent_, earlierName_)) == earlier)) refuse(EEXIST);
    sync(parent_);
  } catch (const std::system_error&) {
    giveBack();
    throw;
  }
}

void Publication::swapInTwoSteps(const std::string& name, const FileId& earlier) {
  const std::string aside = asideNameOf(lock_.name);
  check(::renameat(parent_.get(), name.c_str(), parent_.get(), aside.c_str()));
  earlierName_ = aside;
  try {
    if (!(idOf(statusIn(parent_, aside)) == earlier)) refuse(EEXIST);
    check(::renameat(parent_.get(), lock_.name.c_str(), parent_.get(), name.c_str()));
  } catch (const std::system_error&) {
    if (::renameat(parent_.get(), aside.c_str(), parent_.get(), name.c_str()) == 0) earlierName_.clear();
    throw;
  }
}

// Where it cannot be, the lock goes on telling what lies under which name.
void Publication::giveBack() {
  const char* name = published_.c_str();
  const char* staging = lock_.name.c_str();
  if (earlierName_ == lock_.name) {
    check(::renameat2(parent_.get(), staging, parent_.get(), name, RENAME_EXCHANGE));
  } else {
    check(::renameat(parent_.get(), name, parent_.get(), staging));
    check(::renameat(parent_.get(), earlierName_.c_str(), parent_.get(), name));
  }
  published_.clear();
  earlierName_.clear();
  static_cast<void>(::fsync(parent_.get()) == 0);  // either copy is whole, whichever a power failure leaves
}

std::string Publication::keepStaging(const std::string& name) {
  return published_ = renameToFree(parent_, lock_.name, name);
}

std::string Publication::keepEarlier() {
  std::string kept = renameToFree(parent_, earlierName_, published_);
  earlierName_.clear();
  return kept;
}

void Publication::giveUpEarlier(const Descriptor& earlier) { writeAll(lock_.file, ownLineOf(idOf(statusOf(earlier)))); }

void Publication::removeEarlier(const Descriptor& earlier) {
  removeContent(earlier);
  check(::unlinkat(parent_.get(), earlierName_.c_str(), AT_REMOVEDIR));
  earlierName_.clear();
}

void Publication::publishFile(const std::string& file, const std::string& name) {
  refusesToReplace_ ? rename(folder_, file, parent_, name, false) : replaceOwn(file, name);
  try {
    check(::fsync(parent_.get()));
  } catch (const std::system_error&) {
    ::renameat(parent_.get(), name.c_str(), folder_.get(), file.c_str());
    throw;
  }
}

// Without a rename that refuses to replace, the name is taken first by a file of its own, and that is replaced: nobody
// else's file can be there then. Between the two somebody may have written into it or taken the name, so it is looked
// at.
void Publication::replaceOwn(const std::string& file, const std::string& name) {
  const Descriptor own = openBeneath(parent_, name, O_WRONLY | O_CREAT | O_EXCL, 0600);
  const auto isAsMade = [&] {
    const struct stat there = statusIn(parent_, name);
    return idOf(there) == idOf(statusOf(own)) && there.st_size == 0;
  };
  if (!isAsMade()) refuse(EEXIST);
  try {
    rename(folder_, file, parent_, name, true);
  } catch (const std::system_error&) {
    if (isAsMade()) ::unlinkat(parent_.get(), name.c_str(), 0);
    throw;
  }
}

// Exchanged, where the file system can do it: what has lost its name is looked at, and gets it back where it is another
// file.
void Publication::replaceFile(const std::string& file, const std::string& name, const FileId& replaced) {
  const auto exchange = [&] {
    return ::renameat2(folder_.get(), file.c_str(), parent_.get(), name.c_str(), RENAME_EXCHANGE) == 0;
  };
  if (exchange()) {
    if (!(idOf(statusIn(folder_, file)) == replaced)) {
      if (!exchange()) throwErrno();
      refuse(EEXIST);
    }
  } else {
    if (!isUnknownCall()) throwErrno();
    if (!(idOf(statusIn(parent_, name)) == replaced)) refuse(EEXIST);
    rename(folder_, file, parent_, name, true);
  }
  sync(parent_);
}

// To clean up is a service to those who come later: what cannot be removed must not stop this share.
std::vector<std::string> Publication::removeAbandoned(const Descriptor& parent) {
  std::vector<std::string> kept;
  const auto asFarAsPossible = [](const auto& act) {
    try {
      act();
    } catch (const std::system_error&) {  // it stays, as before
    }
  };
  asFarAsPossible([&] {
    for (const FolderItem& item : readFolder(parent)) {
      const std::string name = nameBehind(item.name);
      if (!name.empty() && item.type == S_IFREG) asFarAsPossible([&] { Abandoned(parent, name).remove(kept); });
    }
  });
  return kept;
}

}  // namespace folder_host
