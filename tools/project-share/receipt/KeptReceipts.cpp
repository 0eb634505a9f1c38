#include "receipt/KeptReceipts.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <system_error>
#include <tuple>
#include <utility>

#include "Refusal.h"
#include "folder_host/share/read/FirstBytes.h"
#include "folder_host/text/Utf.h"
#include "output/Json.h"
#include "project/metadata/MetadataManager.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::FolderProject;
using folder_host::openBeneath;

namespace {

constexpr const char* CONTENT = "receipt";
constexpr std::string_view FORM = "0000000000.000000000-xxxxxxxx";  // seconds and nanoseconds since 1970; any digits
constexpr std::string_view BEGUN = ".begun";
// Nobody made so many: that of a crafted folder not more is read.
constexpr std::size_t MOST_LOOKED_AT = 4096;
constexpr std::size_t MOST_BEGUN = 10;

Descriptor openKeepers(const FolderProject& project, const char* folder) {
  return openBeneath(project.storeFolder(), folder, O_RDONLY | O_DIRECTORY);
}

// A name that has not exactly the form is somebody else's.
bool isOurs(const std::string& name) {
  const bool isBegun = name.size() == FORM.size() + BEGUN.size();
  if (!isBegun && name.size() != FORM.size()) return false;
  if (isBegun && name.compare(FORM.size(), BEGUN.size(), BEGUN) != 0) return false;
  return std::equal(FORM.begin(), FORM.end(), name.begin(), [](char form, char c) {
    const bool isDigit = c >= '0' && c <= '9';
    if (form == 'x') return isDigit || (c >= 'a' && c <= 'f');
    return form == '0' ? isDigit : form == c;
  });
}

bool isComplete(const std::string& name) { return name.size() == FORM.size(); }

// The newest first.
std::vector<std::string> namesIn(const Descriptor& folder) {
  std::vector<std::string> names;
  for (folder_host::FolderItem& item : folder_host::readFolder(folder)) {
    if (item.type == S_IFREG && isOurs(item.name)) names.push_back(std::move(item.name));
  }
  std::sort(names.begin(), names.end(), std::greater<>());
  if (names.size() > MOST_LOOKED_AT) names.resize(MOST_LOOKED_AT);
  return names;
}

// It decides what an update may take over: so it is the caller's, or of somebody whose store decides as much. It is
// looked at before it is opened: opening a pipe or a device may wait or do something.
Descriptor openOne(const FolderProject& project, const Descriptor& folder, const std::string& name) {
  const auto isTrusted = [&](const struct stat& status) {
    const uid_t owner = status.st_uid;
    return S_ISREG(status.st_mode) &&
           (owner == ::geteuid() || owner == 0 || owner == statusOf(project.storeFolder()).st_uid);
  };
  if (isTrusted(folder_host::statusIn(folder, name))) {
    Descriptor file = openBeneath(folder, name, O_RDONLY | O_NONBLOCK);
    if (isTrusted(statusOf(file))) return file;
  }
  throw std::system_error(EACCES, std::generic_category());
}

// Behind all that are there, also where the clock was set back.
std::string nextName(const Descriptor& folder) {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  std::string time = fmt::format("{:010}.{:09}", now.tv_sec, now.tv_nsec);
  const std::vector<std::string> names = namesIn(folder);
  if (!names.empty() && names.front().substr(0, time.size()) >= time) {
    time = names.front().substr(0, time.size());
    for (std::size_t at = time.size(); at-- > 0;) {
      if (time[at] == '.') continue;
      time[at] = time[at] == '9' ? '0' : static_cast<char>(time[at] + 1);
      if (time[at] != '0') break;
    }
  }
  return time + "-" + folder_host::toBytes(project::metadata::generateUUID()).substr(0, 8);
}

void sync(const Descriptor& folder) { folder_host::check(::fsync(folder.get())); }

Descriptor makeKeepers(const FolderProject& project, const char* folder) {
  const bool isNew = ::mkdirat(project.storeFolder().get(), folder, 0700) == 0;
  if (!isNew && errno != EEXIST) folder_host::throwErrno();
  if (isNew) sync(openBeneath(project.storeFolder(), ".", O_RDONLY | O_DIRECTORY));
  Descriptor opened = openKeepers(project, folder);
  folder_host::Publication::removeAbandoned(opened);
  return opened;
}

bool areOfOneKind(const ReceiptHead& a, const ReceiptHead& b) {
  return std::tie(a.profileUuid, a.from, a.destination) == std::tie(b.profileUuid, b.from, b.destination);
}

// That of a share that is at work is locked.
void removeOne(const FolderProject& project, const Descriptor& folder, const std::string& name) {
  const Descriptor file = openOne(project, folder, name);
  if (!isComplete(name) && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;
  folder_host::check(::unlinkat(folder.get(), name.c_str(), 0));
}

}  // namespace

std::vector<KeptReceipt> keptReceipts(const FolderProject& project, const char* folder) {
  std::vector<KeptReceipt> kept;
  try {
    const Descriptor keepers = openKeepers(project, folder);
    for (const std::string& name : namesIn(keepers)) {
      try {
        auto head = keptHeadOf(openOne(project, keepers, name));
        if (head) kept.push_back({name, *std::move(head), isComplete(name)});
      } catch (const std::system_error&) {  // nobody can read it
      }
    }
  } catch (const std::system_error&) {  // there are none, or nobody can read them
  }
  return kept;
}

ReceiptReader openKept(const FolderProject& project, const KeptReceipt& kept, const char* folder, std::uint64_t most) {
  const std::string named = fmt::format("{}/{}/{}/{}", project.root(), folder_host::STORE_FOLDER, folder, kept.name);
  return {folder_host::attempt(refusals::RECEIPT_UNREADABLE, "cannot read", named,
                               [&] { return openOne(project, openKeepers(project, folder), kept.name); }),
          named, most};
}

void checkKeeping(const FolderProject& project, const char* folder) {
  try {
    folder_host::check(::faccessat(openKeepers(project, folder).get(), ".", W_OK | X_OK, AT_EACCESS));
  } catch (const std::system_error& error) {
    if (error.code().value() != ENOENT) throw;
    folder_host::check(::faccessat(project.storeFolder().get(), ".", W_OK | X_OK, AT_EACCESS));
  }
}

// Locked as long as its process lives: nobody removes it who takes it for one that was left.
Keeping::Keeping(const FolderProject& project, const ReceiptHead& head, const char* folder)
    : folder_(makeKeepers(project, folder)),
      name_(nextName(folder_)),
      staging_(folder_),
      file_(openBeneath(staging_.content(), CONTENT, O_RDWR | O_CREAT | O_EXCL, 0600)) {
  static_cast<void>(::flock(file_.get(), LOCK_EX | LOCK_NB) == 0);
  writeAll(file_, std::string(folder_host::RECEIPT_HEAD) + written(jsonOf(head)) + "\n");
  text_.emplace(file_);
}

void Keeping::finish() {
  text_->finish();
  folder_host::check(::fdatasync(file_.get()));
  staging_.publishFile(CONTENT, name_ + std::string(BEGUN));
  isNamed_ = true;
}

// Whatever fails here, the copy is there: its receipt stays, under one of its two names.
void Keeping::complete() {
  isNamed_ = false;
  folder_host::check(::renameat(folder_.get(), (name_ + std::string(BEGUN)).c_str(), folder_.get(), name_.c_str()));
  sync(folder_);
}

Keeping::~Keeping() {
  if (isNamed_) ::unlinkat(folder_.get(), (name_ + std::string(BEGUN)).c_str(), 0);
}

void forgetOlder(const FolderProject& project, const ReceiptHead& of, std::size_t most, const char* folder) {
  std::size_t complete = 0, begun = 0;
  for (const KeptReceipt& kept : keptReceipts(project, folder)) {
    const bool isSame = areOfOneKind(kept.head, of);
    // Behind a share that has come about, nobody asks whether an earlier one to the same place has.
    const bool stays = kept.isComplete ? !isSame || ++complete <= most
                                       : (!isSame || (complete == 0 && most > 0)) && ++begun <= MOST_BEGUN;
    if (stays) continue;
    try {
      removeOne(project, openKeepers(project, folder), kept.name);
    } catch (const std::system_error&) {  // it stays
    }
  }
}

}  // namespace project_share
