#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/files/Identity.h"

// The system calls that the host reads and writes folders with: always from a descriptor, never through a link.
// Everything here fails with std::system_error.
namespace folder_host {

// Owns a file descriptor, or none (-1).
class Descriptor {
 public:
  explicit Descriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int get() const noexcept { return descriptor_; }
  // Gives the descriptor away.
  int release() noexcept;

 private:
  int descriptor_;
};

// Throws the error of the system call that was made last, as errno has it.
[[noreturn]] void throwErrno();

// Gives what a system call gave; where that is below 0, throws its error.
template <class Result>
Result check(Result result) {
  if (result < 0) throwErrno();
  return result;
}

// Opens a folder by any path, links included.
Descriptor openFolder(const std::string& folder);

// Opens what lies below `folder`; "." is the folder itself. No link is followed: one on the way fails, and so does one
// at the end, but with O_PATH the link itself is opened. The flags are those of open(2); O_CLOEXEC and O_NOFOLLOW are
// added. `mode` is that of a file that is made.
Descriptor openBeneath(const Descriptor& folder, const std::string& path, int flags, mode_t mode = 0);

struct stat statusOf(const Descriptor& descriptor);

// Of what has the name `name` in the folder, not of what that leads to.
struct stat statusIn(const Descriptor& folder, const std::string& name);

FileId idOf(const struct stat& status) noexcept;

// Reads from a position on, up to so many bytes; fewer only where the file ends. The file's own position stays.
std::size_t readAt(const Descriptor& file, char* bytes, std::size_t most, std::uint64_t at);
std::string readAt(const Descriptor& file, std::size_t most, std::uint64_t at);

// Writes all of the bytes.
void writeAll(const Descriptor& file, std::string_view bytes);

struct FolderItem {
  std::string name;
  mode_t type;  // S_IFDIR, S_IFREG, S_IFLNK ...
};

// What a folder holds, in no order.
std::vector<FolderItem> readFolder(const Descriptor& folder);

// The target of the link `name` in the folder; of a link that is itself open (with O_PATH) the name is empty.
std::string readLink(const Descriptor& folder, const std::string& name);

// "folder/name"; the name alone where the folder is empty.
std::string joined(const std::string& folder, const std::string& name);

}  // namespace folder_host
