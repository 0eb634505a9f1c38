#include "CanaryScanner.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <vector>

namespace hand_out {

namespace fs = std::filesystem;

namespace {

// What a call like getxattr gives; nothing where the file system has no attributes.
template <class Get>
std::string attribute(const Get& get) {
  std::string bytes(std::size_t{1} << 16U, '\0');  // the system's own bound
  const ssize_t size = get(bytes.data(), bytes.size());
  if (size < 0 && errno != ENOTSUP) throw std::system_error(errno, std::generic_category());
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return bytes;
}

std::string attributesOf(const fs::path& path) {
  std::string all = attribute([&](char* to, std::size_t size) { return ::llistxattr(path.c_str(), to, size); });
  std::istringstream names(all);
  for (std::string name; std::getline(names, name, '\0');) {
    all += attribute([&](char* to, std::size_t size) { return ::lgetxattr(path.c_str(), name.c_str(), to, size); });
  }
  return all;
}

std::string contentOf(const fs::path& path) {
  if (fs::is_symlink(path)) return fs::read_symlink(path).string();
  if (!fs::is_regular_file(path)) return {};
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::system_error(errno, std::generic_category(), path.string());
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

std::string canary(int number) { return "cNry" + std::to_string(1000000 + number).substr(1) + "x"; }

std::array<std::string, 3> encoded(std::string_view ascii) {
  std::array<std::string, 3> bytes;
  for (const char c : ascii) bytes[0] += c, bytes[1] += {c, '\0'}, bytes[2] += {'\0', c};
  return bytes;
}

std::string everythingIn(const fs::path& folder) {
  std::vector<fs::path> paths(fs::recursive_directory_iterator(folder), {});
  std::sort(paths.begin(), paths.end());
  std::string bytes = attributesOf(folder);
  for (const fs::path& path : paths) {
    bytes += '\n' + path.filename().string() + '\n' + contentOf(path) + '\n' + attributesOf(path);
  }
  return bytes;
}

// Without zero bytes the encodings are one.
std::set<int> canariesIn(std::string bytes) {
  bytes.erase(std::remove(bytes.begin(), bytes.end(), '\0'), bytes.end());
  std::set<int> numbers;
  for (std::size_t at = bytes.find("cNry"); at != bytes.npos; at = bytes.find("cNry", at + 1)) {
    const int number = static_cast<int>(std::strtol(bytes.c_str() + at + 4, nullptr, 10) % 1000000);
    if (bytes.compare(at, canary(number).size(), canary(number)) == 0) numbers.insert(number);
  }
  return numbers;
}

bool holds(std::string_view bytes, std::string_view ascii) {
  const auto texts = encoded(ascii);
  return std::any_of(texts.begin(), texts.end(), [&](const auto& text) { return bytes.find(text) != bytes.npos; });
}

}  // namespace hand_out
