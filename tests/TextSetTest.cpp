#include "filters/TextSet.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "CollidingNames.h"

namespace {

using project::sharing::profiles::KeyedHash;
using project::sharing::profiles::TextSet;

TEST(TextSet, SpreadsNamesThatHaveOneStandardHash) {
  constexpr std::size_t NAMES = 32768;
  const TextSet set{KeyedHash()};
  std::set<std::size_t> standard, keyed;
  for (std::size_t number = 0; number < NAMES; ++number) {
    const std::u16string folder = u"/p/x" + bench::collidingName(number);
    standard.insert(std::hash<std::u16string_view>()(folder));
    keyed.insert(set.hashOf(folder));
  }
  EXPECT_EQ(standard.size(), 1U);
  EXPECT_EQ(keyed.size(), NAMES);
}

TEST(KeyedHash, HasAKeyOfItsOwn) {
  std::set<std::size_t> hashes;
  for (int i = 0; i < 100; ++i) hashes.insert(KeyedHash()(u"text"));
  EXPECT_EQ(hashes.size(), 100U);
}

// By an implementation of others.
TEST(KeyedHash, IsSipHash13) {
  const KeyedHash hash(KeyedHash::Key{0xAED66CE184BE2329U, 0xEBE9BBF1F1499052U});
  const std::pair<std::u16string_view, std::size_t> rows[] = {
      {u"a", 0x6823C966E2A3DDBCU},     {u"ab", 0x132A3353B0FCA248U},
      {u"abc", 0xDFBCAB7A95A06F08U},   {u"abcd", 0xC4A901AFB0614F85U},
      {u"abcde", 0x1C4E19963378BDD8U}, {u"00000000-0000-4000-8000-000000000000", 0x00814E0534EDA9E6U},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(hash(text), expected) << text.size();
}

}  // namespace
