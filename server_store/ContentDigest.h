#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace server_store {

// The SHA-256 of a row of a project's store.
std::string digestOfRow(std::string_view row);

// Tells one set of rows from another: the exclusive or of their digests, so that an edit needs to know no more than the
// rows that it puts and takes away.
class ContentDigest {
 public:
  static constexpr std::size_t SIZE = 32;

  ContentDigest() : bytes_(SIZE, '\0') {}
  // With `bytes` of that size.
  explicit ContentDigest(std::string_view bytes) : bytes_(bytes) {}

  // Puts a row in, or takes it away where it is in.
  void toggle(const std::string& digest);
  const std::string& bytes() const noexcept { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace server_store
