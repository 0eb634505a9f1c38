#include "folder_host/files/Permissions.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace folder_host {

namespace {

constexpr const char* ACCESS_LIST = "system.posix_acl_access";

// Little-endian: a version, then entries of a tag, what is allowed, and for whom.
constexpr std::size_t HEAD = 4;
constexpr std::size_t ITEM = 8;
constexpr std::uint32_t VERSION = 2;
enum Tag : std::uint32_t { namedUser = 0x02, owningGroup = 0x04, namedGroup = 0x08, mask = 0x10 };

constexpr mode_t GROUP = 070;
constexpr mode_t OTHERS = 07;
constexpr mode_t OWNER = 0700;

std::uint32_t numberAt(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint32_t number = 0;
  for (std::size_t i = length; i > 0; --i) number = number << 8U | static_cast<unsigned char>(bytes[at + i - 1]);
  return number;
}

// A list that has grown between the two calls is an error: a part of it would withhold less than the whole.
std::string accessListOf(const Descriptor& opened) {
  const ssize_t size = ::fgetxattr(opened.get(), ACCESS_LIST, nullptr, 0);
  if (size < 0 && (errno == ENODATA || errno == EOPNOTSUPP)) return {};
  std::string bytes(static_cast<std::size_t>(check(size)), '\0');
  bytes.resize(static_cast<std::size_t>(check(::fgetxattr(opened.get(), ACCESS_LIST, bytes.data(), bytes.size()))));
  return bytes;
}

}  // namespace

// Where there is a list, the mode's bits of the group are its mask: they tell what anyone that it names may do at most,
// not what the owning group may. Whoever it names is one of the others to the copy.
mode_t permissionsUnder(std::string_view accessList, mode_t mode) {
  // What cannot be understood may withhold anything from anyone: then the copy is its owner's alone.
  const bool isWhole = accessList.size() >= HEAD && (accessList.size() - HEAD) % ITEM == 0;
  if (!isWhole || numberAt(accessList, 0, HEAD) != VERSION) return mode & OWNER;
  std::optional<mode_t> group;
  mode_t most = OTHERS;
  std::optional<mode_t> named;
  for (std::size_t at = HEAD; at < accessList.size(); at += ITEM) {
    const std::uint32_t tag = numberAt(accessList, at, 2);
    const mode_t allowed = numberAt(accessList, at + 2, 2);
    if (tag == Tag::owningGroup) group = allowed;
    if (tag == Tag::mask) most = allowed;
    if (tag == Tag::namedUser || tag == Tag::namedGroup) named = named.value_or(OTHERS) & allowed;
  }
  if (!group) return mode & OWNER;
  const mode_t others = mode & OTHERS & (named ? *named & most : OTHERS);
  return (mode & OWNER) | ((*group & most & OTHERS) << 3U) | others;
}

// Set-id bits are dropped: the copy belongs to whoever shares, and would run in their name.
mode_t permissionsOf(const Descriptor& opened, const struct stat& status) {
  const mode_t mode = status.st_mode & (OWNER | GROUP | OTHERS);
  if ((mode & (GROUP | OTHERS)) == 0) return mode;
  const std::string accessList = accessListOf(opened);
  return accessList.empty() ? mode : permissionsUnder(accessList, mode);
}

}  // namespace folder_host
