#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// A SHA-256 of bytes that come in parts.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(std::string_view bytes);
  // In hexadecimal digits; nothing may be added any more.
  std::string finish();

 private:
  struct Context;
  std::unique_ptr<Context> context_;
};

// The SHA-256, in hexadecimal digits, of a file that is open for reading and stands at its beginning: of its first
// `most` bytes, or of all where there are fewer. `onBytes` is told the number of bytes of each read; what it throws
// passes. Fails with std::system_error.
std::string sha256Of(const Descriptor& file, const std::function<void(std::uint64_t)>& onBytes,
                     std::uint64_t most = UINT64_MAX);

// Likewise, of bytes.
std::string sha256Of(std::string_view bytes);

// With "=" at the end, and without line ends.
std::string base64Of(std::string_view bytes);

}  // namespace folder_host
