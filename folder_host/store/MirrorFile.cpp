#include "folder_host/store/MirrorFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "folder_host/Error.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Listing.h"
#include "folder_host/files/Path.h"
#include "folder_host/store/Mirror.h"
#include "folder_host/store/Store.h"

namespace folder_host {

namespace {

// By its folder, too: two folders of one project do not wait for each other.
std::string nameOf(const std::string& root, const Address& address) { return sha256Of(root + '\0' + address.text()); }

bool isOwn(const struct stat& status) { return status.st_uid == ::geteuid() && (status.st_mode & 0077U) == 0; }

// Everything above it may be anyone's; this folder and what lies in it is the user's alone.
Descriptor makeOwnFolder(const std::string& folder) {
  std::filesystem::create_directories(std::filesystem::path(folder).parent_path());
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) throwErrno();
  Descriptor opened(check(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW)));
  if (!isOwn(statusOf(opened))) throw std::system_error(EACCES, std::generic_category());
  return opened;
}

void removeFolder(const Descriptor& mirrors, const std::string& name) {
  const std::string store = joined(name, STORE_NAME);
  for (const std::string& file : {store, store + "-journal"}) ::unlinkat(mirrors.get(), file.c_str(), 0);
  ::unlinkat(mirrors.get(), name.c_str(), AT_REMOVEDIR);
}

// Under another name first: whoever opens it finds it whole.
void makeEmpty(const Descriptor& mirrors, const std::string& name) {
  if (::faccessat(mirrors.get(), name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) return;
  const std::string unfinished = "new-" + std::to_string(::getpid());
  removeFolder(mirrors, unfinished);
  check(::mkdirat(mirrors.get(), unfinished.c_str(), 0700));
  writeAll(openBeneath(mirrors, joined(unfinished, STORE_NAME), O_WRONLY | O_CREAT | O_EXCL, 0600),
           Store::inMemory()->image());
  // Another process may have made it meanwhile.
  if (::renameat2(mirrors.get(), unfinished.c_str(), mirrors.get(), name.c_str(), RENAME_NOREPLACE) != 0) {
    removeFolder(mirrors, unfinished);
  }
}

// With its folder: SQLite finds a store's journal by its name, and the journal of one that is still open somewhere must
// not be taken for that of its successor.
void removeDamaged(const Descriptor& mirrors, const std::string& name) {
  const std::string damaged = "old-" + std::to_string(::getpid());
  removeFolder(mirrors, damaged);
  if (::renameat(mirrors.get(), name.c_str(), mirrors.get(), damaged.c_str()) == 0) removeFolder(mirrors, damaged);
}

StoreDatabase openOwn(const std::string& file) {
  return openStoreFile(file, [](const Descriptor& folder) {
    if (!isOwn(statusOf(folder))) throw Error(errors::STORE_UNTRUSTED, "another user's");
    check(::faccessat(folder.get(), STORE_NAME, R_OK | W_OK, AT_EACCESS));
  });
}

}  // namespace

StoreDatabase openMirror(const std::string& mirrors, const std::string& root, const Address& address) {
  if (mirrors.empty() || isAtOrBelow(mirrors, {root})) return emptyStore();
  try {
    const Descriptor folder = makeOwnFolder(mirrors);
    const std::string name = nameOf(root, address), file = joined(joined(mirrors, name), STORE_NAME);
    makeEmpty(folder, name);
    try {
      return openOwn(file);
    } catch (const Error& error) {
      if (error.identifier() != std::string_view(errors::STORE_UNREADABLE)) throw;
    }
    removeDamaged(folder, name);
    makeEmpty(folder, name);
    return openOwn(file);
  } catch (const std::system_error&) {
  } catch (const Error&) {
  }
  return emptyStore();
}

StoreDatabase openMirrorOffline(const std::string& mirrors, const std::string& root, const Address& address) {
  try {
    StoreDatabase store = openOwn(joined(joined(mirrors, nameOf(root, address)), STORE_NAME));
    store.database.exec("PRAGMA query_only = ON");
    if (positionOf(store.database).revision > 0) return store;
  } catch (const std::system_error&) {
  } catch (const Error&) {
  }
  throw Error(errors::STORE_UNREACHABLE, "nothing of this project was seen before, or it is not kept on this machine");
}

}  // namespace folder_host
