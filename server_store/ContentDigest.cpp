#include "server_store/ContentDigest.h"

#include "folder_host/files/Digest.h"

namespace server_store {

std::string digestOfRow(std::string_view row) {
  const std::string digits = folder_host::sha256Of(row);
  const auto valueOf = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
  std::string digest;
  digest.reserve(ContentDigest::SIZE);
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    digest += static_cast<char>(valueOf(digits[i]) * 16 + valueOf(digits[i + 1]));
  }
  return digest;
}

void ContentDigest::toggle(const std::string& digest) {
  for (std::size_t i = 0; i < SIZE; ++i) bytes_[i] = static_cast<char>(bytes_[i] ^ digest[i]);
}

}  // namespace server_store
