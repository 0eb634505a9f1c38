#include "filters/TextSet.h"

#include <cstring>

namespace project::sharing::profiles {

namespace {

constexpr std::size_t OF_A_SIZE = sizeof(std::size_t) / sizeof(char16_t);

// Half of the slots remain free: searches are short, and always meet a free slot.
std::size_t slotsFor(std::size_t texts) {
  std::size_t slots = 2;
  while (slots <= 2 * texts) slots *= 2;
  return slots;
}

}  // namespace

TextSet::TextSet(const KeyedHash& hash, std::size_t expected) : hasher(hash), slots(slotsFor(expected)) {}

TextSet::Inserted TextSet::insert(Text text, std::size_t note) {
  const std::size_t hash = hashOf(text);
  Slot& slot = slots[search(text, hash)];
  if (slot.entry.number != NONE) return {slot.entry, false};
  const Entry entry{append(text), note};
  slot = {hash, entry};
  if (2 * ++used >= slots.size()) grow();
  return {entry, true};
}

TextSet::Entry TextSet::find(Text text) const { return slots[search(text, hashOf(text))].entry; }

bool TextSet::isAt(std::size_t number, Text text) const {
  std::size_t size = 0;
  std::memcpy(&size, &block[number], sizeof(size));
  return size == text.size() &&
         std::memcmp(&block[number + OF_A_SIZE], text.data(), text.size() * sizeof(char16_t)) == 0;
}

bool TextSet::erase(Text text, std::size_t hash) {
  const std::size_t number = slots[search(text, hash)].entry.number;
  if (number == NONE) return false;
  // The text loses its size, and is equal to none from now on; its slot still leads searches past it.
  std::memcpy(&block[number], &NONE, sizeof(NONE));
  return true;
}

std::size_t TextSet::search(Text text, std::size_t hash) const {
  const std::size_t last = slots.size() - 1;
  std::size_t at = hash & last;
  const auto isElsewhere = [&](const Slot& slot) {
    return slot.entry.number != NONE && (slot.hash != hash || !isAt(slot.entry.number, text));
  };
  while (isElsewhere(slots[at])) at = (at + 1) & last;
  return at;
}

std::size_t TextSet::append(Text text) {
  const std::size_t number = block.size();
  const std::size_t size = text.size();
  block.resize(number + OF_A_SIZE);
  std::memcpy(&block[number], &size, sizeof(size));
  block += text;
  return number;
}

// The hashes are at hand, so no text is read or hashed again.
void TextSet::grow() {
  std::vector<Slot> full(2 * slots.size());
  full.swap(slots);
  const std::size_t last = slots.size() - 1;
  for (const Slot& slot : full) {
    if (slot.entry.number == NONE) continue;
    std::size_t at = slot.hash & last;
    while (slots[at].entry.number != NONE) at = (at + 1) & last;
    slots[at] = slot;
  }
}

}  // namespace project::sharing::profiles
