#include "filters/TextSet.h"

#include <cstring>
#include <functional>

namespace project::sharing::profiles {

namespace {

std::size_t slotsFor(std::size_t texts) {
  std::size_t slots = 2;
  while (slots <= 2 * texts) slots *= 2;
  return slots;
}

}  // namespace

TextSet::TextSet(std::size_t texts) : slots_(slotsFor(texts)) {}

std::size_t TextSet::hashOf(Text text, std::size_t group) {
  constexpr std::size_t SPREAD = 0x9E3779B97F4A7C15;
  return std::hash<Text>()(text) + group * SPREAD;
}

TextSet::Inserted TextSet::insert(Text text, std::size_t group) {
  const std::size_t hash = hashOf(text, group);
  Slot& slot = slots_[search(text, hash, group)];
  if (slot.begin != NONE) return {slot.begin, false};
  const std::size_t begin = texts_.size();
  texts_ += text;
  texts_ += u'\0';  // so that an empty one has a place of its own
  slot = {hash, begin, text.size(), group};
  if (2 * ++used_ >= slots_.size()) grow();
  return {begin, true};
}

std::size_t TextSet::find(Text text, std::size_t group) const {
  return slots_[search(text, hashOf(text, group), group)].begin;
}

bool TextSet::erase(Text text, std::size_t hash) {
  Slot& slot = slots_[search(text, hash, 0)];
  if (slot.begin == NONE) return false;
  slot.size = NONE;
  return true;
}

bool TextSet::holds(const Slot& slot, Text text, std::size_t hash, std::size_t group) const {
  return slot.hash == hash && slot.size == text.size() && slot.group == group &&
         std::memcmp(&texts_[slot.begin], text.data(), text.size() * sizeof(char16_t)) == 0;
}

std::size_t TextSet::search(Text text, std::size_t hash, std::size_t group) const {
  const std::size_t last = slots_.size() - 1;
  std::size_t at = hash & last;
  while (slots_[at].begin != NONE && !holds(slots_[at], text, hash, group)) at = (at + 1) & last;
  return at;
}

void TextSet::grow() {
  std::vector<Slot> slots(2 * slots_.size());
  slots.swap(slots_);
  const std::size_t last = slots_.size() - 1;
  for (const Slot& slot : slots) {
    if (slot.begin == NONE) continue;
    std::size_t at = slot.hash & last;
    while (slots_[at].begin != NONE) at = (at + 1) & last;
    slots_[at] = slot;
  }
}

}  // namespace project::sharing::profiles
