#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace project::sharing::profiles {

// SipHash-1-3 of texts. The standard hash has no key: a stranger's project could be full of names that all have one
// hash, so that each look-up walks past all of them. Nobody can make up such names without knowing the key.
class KeyedHash {
 public:
  struct Key {
    std::uint64_t first;
    std::uint64_t second;
  };

  // Makes a key of its own. The system's random numbers may be bad, or not to be had, so times and addresses are part
  // of the key as well. Throws nothing.
  KeyedHash();
  explicit KeyedHash(const Key& given) : key(given) {}

  std::size_t operator()(std::u16string_view text) const;

 private:
  Key key;
};

}  // namespace project::sharing::profiles
