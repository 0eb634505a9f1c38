#include "CollidingNames.h"

#include <cstdint>
#include <cstring>

namespace bench {

namespace {

constexpr std::size_t CHOICES = 16;
constexpr std::uint64_t FACTOR = 0xC6A4A7935BD1E995U;

constexpr std::uint64_t inverse(std::uint64_t odd) {
  std::uint64_t result = odd;
  for (int i = 0; i < 5; ++i) result *= 2 - odd * result;
  return result;
}

// How a block enters the hash, with this factor; with its inverse the way back.
constexpr std::uint64_t scrambled(std::uint64_t block, std::uint64_t factor) {
  block *= factor;
  return (block ^ block >> 47U) * factor;
}

std::u16string textOf(std::uint64_t block) {
  std::u16string text(sizeof(block) / sizeof(char16_t), u'\0');
  std::memcpy(text.data(), &block, sizeof(block));
  return text;
}

bool isName(const std::u16string& text) {
  for (const char16_t unit : text) {
    if (unit < u'0' || (unit >= 0xD800 && unit < 0xE000)) return false;
  }
  return true;
}

// Two blocks that change the hash in its highest bit alone, wherever they stand: no later block spreads that bit.
struct Pair {
  std::u16string one, other;
};

Pair pairFrom(std::uint64_t block) {
  constexpr std::uint64_t HIGHEST = 1ULL << 63U;
  for (;; ++block) {
    Pair pair{textOf(block), textOf(scrambled(scrambled(block, FACTOR) ^ HIGHEST, inverse(FACTOR)))};
    if (isName(pair.one) && isName(pair.other)) return pair;
  }
}

}  // namespace

std::u16string collidingName(std::size_t number) {
  static const Pair pair = pairFrom(0x0061006100610061U);
  std::u16string name;
  bool isOdd = false;
  for (std::size_t i = 0; i < CHOICES; ++i) {
    const bool isOther = (number >> i & 1U) != 0;
    name += isOther ? pair.other : pair.one;
    isOdd ^= isOther;
  }
  return name + (isOdd ? pair.other : pair.one);
}

}  // namespace bench
