#include "folder_host/files/Ownership.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace folder_host {

namespace {

// Root can change the projects of this user as well, so one that belongs to root is no other risk.
bool isStranger(uid_t user) { return user != ::geteuid() && user != 0; }

// The first of them that is not trusted.
const uid_t* findUntrusted(const std::vector<uid_t>& strangers, const std::string& root, const Trust& trust) {
  const auto untrusted =
      std::find_if(strangers.begin(), strangers.end(), [&](uid_t user) { return !trust || !trust(root, user); });
  return untrusted == strangers.end() ? nullptr : &*untrusted;
}

}  // namespace

// Whoever can write the store decides what is held back, and whoever can write its journal can write the store. Where
// the folder is open, it is asked and not its name, for which another may stand by now.
std::vector<uid_t> strangersOwning(const std::string& root, const Descriptor* folder) {
  const std::string top =
      folder == nullptr ? joined(root, STORE_FOLDER) : "/proc/self/fd/" + std::to_string(folder->get()) + "/.";
  const std::string store = joined(top, STORE_NAME);
  std::vector<uid_t> strangers;
  for (const std::string& path : {top, store, store + "-journal", joined(top, ADDRESS_NAME)}) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      // What cannot be looked at in the store's folder, whose that is, cannot be opened either.
      if (errno != EACCES || path != top) continue;
      status.st_uid = UNKNOWN_OWNER;
    }
    const bool known = std::find(strangers.begin(), strangers.end(), status.st_uid) != strangers.end();
    if (isStranger(status.st_uid) && !known) strangers.push_back(status.st_uid);
  }
  return strangers;
}

bool isTrusted(const std::string& root, const Trust& trust) {
  return findUntrusted(strangersOwning(root), root, trust) == nullptr;
}

void requireTrusted(const std::string& root, const Trust& trust, const Descriptor* folder) {
  const std::vector<uid_t> strangers = strangersOwning(root, folder);
  const uid_t* untrusted = findUntrusted(strangers, root, trust);
  if (untrusted == nullptr) return;
  const std::string project = "the project " + inQuotes(root);
  if (*untrusted == UNKNOWN_OWNER) {
    throw Error(errors::STORE_UNTRUSTED,
                project + " cannot be looked into: nobody can tell whose it is; ask for permission to read it");
  }
  throw Error(errors::STORE_UNTRUSTED, project + " belongs to the user " + inQuotes(userName(*untrusted)) +
                                           ", who is neither you nor root: open it only if you trust them");
}

std::string userName(uid_t user) {
  std::array<char, 4096> buffer{};
  struct passwd entry {};
  struct passwd* found = nullptr;
  ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? found->pw_name : std::to_string(user);
}

}  // namespace folder_host
