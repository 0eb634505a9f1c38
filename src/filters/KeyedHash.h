#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace project::sharing::profiles {

// SipHash-1-3 of texts. A stranger's project may be full of names that have one standard hash, which knows no key; who
// does not know the key of this one cannot make them up.
class KeyedHash {
 public:
  struct Key {
    std::uint64_t first;
    std::uint64_t second;
  };

  // With a key of its own: of the system's random numbers and, as those may be bad or not to be had, of times and
  // addresses. Throws nothing.
  KeyedHash();
  explicit KeyedHash(const Key& given) : key(given) {}

  std::size_t operator()(std::u16string_view text) const;

 private:
  Key key;
};

}  // namespace project::sharing::profiles
