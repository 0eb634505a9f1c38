#include "Shape.h"

#include <cstdint>

namespace bench {

namespace {

constexpr std::size_t LABELS_OF_A_CATEGORY = 20;

// One to one, and far apart for neighbours.
std::uint64_t scattered(std::uint64_t number) {
  number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
  number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
  return number ^ (number >> 31U);
}

}  // namespace

std::u16string uuidOf(std::size_t number) {
  std::u16string text = u"00000000-0000-4000-8000-000000000000";
  std::uint64_t rest = scattered(number);
  for (const unsigned at : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 24U, 25U, 26U, 27U, 28U, 29U, 30U, 31U}) {
    text[at] = u"0123456789abcdef"[rest & 0xFU];
    rest >>= 4U;
  }
  return text;
}

project::sharing::profiles::ExportStrategyItem itemOf(std::size_t number) {
  constexpr std::size_t CATEGORIES_BEGIN = 1000000000;  // above every label's number
  return {uuidOf(CATEGORIES_BEGIN + number / LABELS_OF_A_CATEGORY), uuidOf(number)};
}

plain::Items itemsUpTo(std::size_t count) {
  plain::Items items;
  for (std::size_t number = 0; number < count; ++number) items.push_back(itemOf(number));
  return items;
}

}  // namespace bench
