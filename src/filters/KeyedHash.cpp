#include "filters/KeyedHash.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace project::sharing::profiles {

namespace {

constexpr std::size_t OF_A_WORD = sizeof(std::uint64_t) / sizeof(char16_t);

// Aumasson and Bernstein, "SipHash: a fast short-input PRF": one round for each word, and three at the end.
class Sip {
 public:
  explicit Sip(const KeyedHash::Key& key)
      : v0(key.first ^ 0x736F6D6570736575U),
        v1(key.second ^ 0x646F72616E646F6DU),
        v2(key.first ^ 0x6C7967656E657261U),
        v3(key.second ^ 0x7465646279746573U) {}

  void add(std::uint64_t word) {
    v3 ^= word;
    round();
    v0 ^= word;
  }

  std::uint64_t end() {
    v2 ^= 0xFFU;
    for (int i = 0; i < 3; ++i) round();
    return v0 ^ v1 ^ v2 ^ v3;
  }

 private:
  static std::uint64_t turned(std::uint64_t word, unsigned bits) { return word << bits | word >> (64U - bits); }

  void round() {
    v0 += v1;
    v2 += v3;
    v1 = turned(v1, 13) ^ v0;
    v3 = turned(v3, 16) ^ v2;
    v0 = turned(v0, 32) + v3;
    v2 += v1;
    v3 = turned(v3, 21) ^ v0;
    v1 = turned(v1, 17) ^ v2;
    v2 = turned(v2, 32);
  }

  std::uint64_t v0;
  std::uint64_t v1;
  std::uint64_t v2;
  std::uint64_t v3;
};

// Gives as many random numbers as the system does, and 0 for the others.
KeyedHash::Key randomNumbers() {
  KeyedHash::Key numbers{0, 0};
  try {
    std::random_device device;
    for (std::uint64_t* number : {&numbers.first, &numbers.second}) *number = std::uint64_t{device()} << 32U | device();
  } catch (const std::exception&) {
    // Times and addresses have to do.
  }
  return numbers;
}

}  // namespace

KeyedHash::KeyedHash() : key{} {
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  const auto today = std::chrono::system_clock::now().time_since_epoch().count();
  key = {static_cast<std::uint64_t>(now) ^ reinterpret_cast<std::uintptr_t>(&randomNumbers),
         static_cast<std::uint64_t>(today) ^ reinterpret_cast<std::uintptr_t>(this)};
  // Times and addresses differ from run to run in a few bits. Hashing two words with them spreads these bits over the
  // whole key, to which the random numbers are then added.
  const Key random = randomNumbers();
  key = {random.first ^ (*this)(u"first"), random.second ^ (*this)(u"second")};
}

std::size_t KeyedHash::operator()(std::u16string_view text) const {
  Sip sip(key);
  // The size is part of the last word, so that a text differs from the same text with U+0000 after it.
  std::uint64_t last = text.size() * sizeof(char16_t) << 56U;
  for (; text.size() >= OF_A_WORD; text.remove_prefix(OF_A_WORD)) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), sizeof(word));
    sip.add(word);
  }
  unsigned bits = 0;
  for (const char16_t unit : text) {
    last |= std::uint64_t{unit} << bits;
    bits += 16;
  }
  sip.add(last);
  return sip.end();
}

}  // namespace project::sharing::profiles
