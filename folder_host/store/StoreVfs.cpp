#include "folder_host/store/StoreVfs.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "folder_host/files/Listing.h"

namespace folder_host {

namespace {

constexpr const char* NO_FILE = "is not a file";
constexpr const char* STRANGE_JOURNAL =
    "has a journal beside it that is not a file of its own; move the journal away, and ask who made it";
constexpr const char* SHARED_JOURNAL =
    "has a journal beside it that would have other files changed; do not use it, and ask who made it";
constexpr const char* GROWING =
    "has a journal beside it that would make it larger than it ever was; do not use it, and ask who made it";
constexpr const char* LOGGED =
    "was put into WAL mode by another program; if you trust its maker, have sqlite3 run 'PRAGMA journal_mode = DELETE' "
    "on it";

// A second name counts: whatever is written to such a file is written to another one, too.
bool isPlain(const struct stat& status) { return S_ISREG(status.st_mode) && status.st_nlink == 1; }

// Nothing closes it then.
int unopened(sqlite3_file* file, int code) {
  file->pMethods = nullptr;
  return code;
}

// By the open file: another descriptor of it, when closed, would give up the locks that this process holds. In WAL
// mode, SQLite would make two more files beside the store and read them.
bool isLogged(sqlite3_file* file) {
  constexpr unsigned char WAL = 2;
  std::array<unsigned char, 20> header{};
  file->pMethods->xRead(file, header.data(), static_cast<int>(header.size()), 0);  // less is filled up with zeros
  return header[18] == WAL || header[19] == WAL;
}

std::uint64_t sizeOf(const std::string& file) {
  struct stat status {};
  return ::lstat(file.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

// What the store had, by its journal's header, before it was changed: a store of ours never becomes smaller. 0 where
// the journal is none.
// SQLite rolls a journal back before anyone can ask whose it is. One that was made for it could blow the store up to
// any size.
std::uint64_t restoredSize(const std::string& journal) {
  constexpr std::string_view MAGIC("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8);
  constexpr std::size_t PAGES = 16, PAGE_SIZE = 24, END = 28;
  std::array<char, END> header{};
  std::ifstream file(journal, std::ios::binary);
  if (!file.read(header.data(), END) || std::string_view(header.data(), MAGIC.size()) != MAGIC) return 0;
  const auto number = [&](std::size_t at) {
    std::uint64_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = (value << 8U) | static_cast<unsigned char>(header[i]);
    return value;
  };
  return number(PAGES) * number(PAGE_SIZE);
}

Descriptor openFolderOf(const std::string& file) {
  const std::string folder = std::filesystem::path(file).parent_path().string();
  return Descriptor(check(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)));
}

std::string nameIn(const Descriptor& folder, const std::string& file) {
  return "/proc/self/fd/" + std::to_string(folder.get()) + "/" + std::filesystem::path(file).filename().string();
}

StoreVfs& storeOf(sqlite3_vfs* vfs) { return *static_cast<StoreVfs*>(vfs->pAppData); }

}  // namespace

// The folder stays open and the file is named through it. Whatever is put in the place of the folder later, SQLite goes
// on in the one whose owner was looked at. The name is this object's own: SQLite knows a VFS by its name, and several
// stores may be open.
StoreVfs::StoreVfs(const std::string& file)
    : disk_(sqlite3_vfs_find(nullptr)),
      folder_(openFolderOf(file)),
      file_(nameIn(folder_, file)),
      name_("store-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))) {
  vfs_ = *disk_;
  vfs_.iVersion = 1;
  vfs_.zName = name_.c_str();
  vfs_.pAppData = this;
  vfs_.xOpen = [](sqlite3_vfs* vfs, const char* path, sqlite3_file* opened, int flags, int* given) {
    const int code = storeOf(vfs).open(path, opened, flags, given);
    return code == SQLITE_OK ? code : unopened(opened, code);
  };
  vfs_.xDelete = [](sqlite3_vfs* vfs, const char* path, int durably) { return storeOf(vfs).remove(path, durably); };
  vfs_.xAccess = [](sqlite3_vfs* vfs, const char* path, int /*flags*/, int* answer) {
    bool found = false;
    const int code = storeOf(vfs).find(path, found);
    *answer = found ? 1 : 0;
    return code;
  };
  // It is one: SQLite would take the descriptor for a link.
  vfs_.xFullPathname = [](sqlite3_vfs*, const char* path, int size, char* full) {
    const std::string_view whole(path);
    if (whole.size() >= static_cast<std::size_t>(size)) return SQLITE_CANTOPEN;
    *std::copy(whole.begin(), whole.end(), full) = '\0';
    return SQLITE_OK;
  };
  sqlite3_vfs_register(&vfs_, 0);
}

StoreVfs::~StoreVfs() { sqlite3_vfs_unregister(&vfs_); }

int StoreVfs::refuse(const char* refusal, int code) noexcept {
  refusal_ = refusal;
  return code;
}

// Of all that SQLite may ask for, the store and its own journal alone are opened: the name of a super-journal stands in
// the journal, where a stranger can have put any path.
int StoreVfs::open(const char* path, sqlite3_file* file, int flags, int* given) noexcept {
  if (path == nullptr) return SQLITE_CANTOPEN;  // a temporary file
  if ((flags & SQLITE_OPEN_MAIN_DB) != 0 && path == file_) return openStore(file, flags, given);
  if ((flags & SQLITE_OPEN_WAL) != 0) return refuse(LOGGED, SQLITE_CANTOPEN);
  if ((flags & SQLITE_OPEN_MAIN_JOURNAL) == 0 || path != journal_) return refuse(SHARED_JOURNAL, SQLITE_CANTOPEN);
  bool found = false;
  const int code = findJournal(found);
  return code == SQLITE_OK ? disk_->xOpen(disk_, path, file, flags, given) : code;
}

int StoreVfs::openStore(sqlite3_file* file, int flags, int* given) noexcept {
  struct stat status {};
  if (::lstat(file_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return refuse(NO_FILE, SQLITE_CANTOPEN);
  const int code = disk_->xOpen(disk_, file_.c_str(), file, flags, given);
  if (code != SQLITE_OK || !isLogged(file)) return code;
  file->pMethods->xClose(file);
  return refuse(LOGGED, SQLITE_CANTOPEN);
}

int StoreVfs::findJournal(bool& found) noexcept {
  struct stat status {};
  if (::lstat(journal_.c_str(), &status) != 0) return errno == ENOENT ? SQLITE_OK : SQLITE_IOERR_ACCESS;
  if (!isPlain(status)) return refuse(STRANGE_JOURNAL, SQLITE_IOERR_ACCESS);
  if (restoredSize(journal_) > sizeOf(file_)) return refuse(GROWING, SQLITE_IOERR_ACCESS);
  found = status.st_size > 0;
  return SQLITE_OK;
}

// An error, where something else is asked for, ends the roll-back of a journal that names it before it begins.
int StoreVfs::find(const char* path, bool& found) noexcept {
  if (path == journal_) return findJournal(found);
  if (path != log_) return refuse(SHARED_JOURNAL, SQLITE_IOERR_ACCESS);
  struct stat status {};
  if (::lstat(path, &status) != 0 && errno == ENOENT) return SQLITE_OK;
  return refuse(LOGGED, SQLITE_IOERR_ACCESS);
}

int StoreVfs::remove(const char* path, int durably) noexcept {
  if (path != journal_) return refuse(SHARED_JOURNAL, SQLITE_IOERR_DELETE);
  return disk_->xDelete(disk_, path, durably);
}

void StoreVfs::touch() const noexcept { ::utimensat(folder_.get(), STORE_NAME, nullptr, AT_SYMLINK_NOFOLLOW); }

}  // namespace folder_host
