#include "folder_host/files/Descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <system_error>
#include <utility>

namespace folder_host {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

// Some file systems give no type with the name.
mode_t typeOf(int folder, const dirent& item) {
  if (item.d_type != DT_UNKNOWN) return DTTOIF(static_cast<mode_t>(item.d_type));
  struct stat status {};
  check(::fstatat(folder, item.d_name, &status, AT_SYMLINK_NOFOLLOW));
  return status.st_mode & static_cast<mode_t>(S_IFMT);
}

bool isDots(const std::string& name) { return name == "." || name == ".."; }

}  // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

Descriptor::~Descriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

int Descriptor::release() noexcept { return std::exchange(descriptor_, -1); }

void throwErrno() { throw std::system_error(errno, std::generic_category()); }

// The path is the user's own, so links in it are followed. What lies in the folder is opened by openBeneath.
Descriptor openFolder(const std::string& folder) {
  return Descriptor(check(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

// Checking a path and then opening it leaves a gap in which a link can take a folder's place. Here the system itself
// refuses any link on the way, and any step above the folder.
Descriptor openBeneath(const Descriptor& folder, const std::string& path, int flags, mode_t mode) {
  // A single name leads neither through a link nor above, and the plain call is the faster one.
  if (path.find('/') == std::string::npos && path != "..") {
    return Descriptor(check(::openat(folder.get(), path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, mode)));
  }
  open_how how{};
  how.flags = static_cast<__u64>(flags | O_CLOEXEC | O_NOFOLLOW);
  how.mode = mode;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
  return Descriptor(static_cast<int>(check(::syscall(SYS_openat2, folder.get(), path.c_str(), &how, sizeof how))));
}

struct stat statusOf(const Descriptor& descriptor) {
  struct stat status {};
  check(::fstat(descriptor.get(), &status));
  return status;
}

struct stat statusIn(const Descriptor& folder, const std::string& name) {
  struct stat status {};
  check(::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW));
  return status;
}

FileId idOf(const struct stat& status) noexcept { return {status.st_dev, status.st_ino}; }

std::size_t readAt(const Descriptor& file, char* bytes, std::size_t most, std::uint64_t at) {
  std::size_t read = 0;
  while (read < most) {
    const ssize_t length = ::pread(file.get(), bytes + read, most - read, static_cast<off_t>(at + read));
    if (length < 0 && errno == EINTR) continue;
    if (check(length) == 0) break;
    read += static_cast<std::size_t>(length);
  }
  return read;
}

std::string readAt(const Descriptor& file, std::size_t most, std::uint64_t at) {
  std::string bytes(most, '\0');
  bytes.resize(readAt(file, bytes.data(), most, at));
  return bytes;
}

void writeAll(const Descriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      throwErrno();
    }
  }
}

// A descriptor of its own: the position in a folder is shared by all who have the same one. The end and a failure give
// the same null, so errno is cleared before each item: a folder that was read in part must not be taken for the whole.
std::vector<FolderItem> readFolder(const Descriptor& folder) {
  Descriptor own(check(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  const std::unique_ptr<DIR, CloseFolder> stream(::fdopendir(own.get()));
  if (stream == nullptr) throwErrno();
  own.release();
  std::vector<FolderItem> items;
  errno = 0;
  while (const dirent* item = ::readdir(stream.get())) {
    if (!isDots(item->d_name)) items.push_back({item->d_name, typeOf(folder.get(), *item)});
    errno = 0;
  }
  if (errno != 0) throwErrno();
  return items;
}

std::string readLink(const Descriptor& folder, const std::string& name) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = check(::readlinkat(folder.get(), name.c_str(), target.data(), target.size()));
  return {target.data(), static_cast<std::size_t>(length)};
}

std::string joined(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  std::string path;
  path.reserve(folder.size() + 1 + name.size());  // there may be millions of them: not a byte more
  return path.append(folder).append(1, '/').append(name);
}

}  // namespace folder_host
