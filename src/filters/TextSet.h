#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "filters/KeyedHash.h"

namespace project::sharing::profiles {

// A set of texts, each with a note. All texts stand in one block of memory and their hashes in another. So a look-up
// reads one place where the text is absent and two where it is there, while the standard sets follow pointers to four;
// with thousands of texts that is most of the time.
class TextSet {
 public:
  using Text = std::u16string_view;

  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  struct Entry {
    std::size_t number = NONE;  // NONE where there is no such text; of one text alone, however the set grows
    std::size_t note = 0;
  };

  // Has room for that many texts, and grows beyond.
  explicit TextSet(const KeyedHash& hash, std::size_t expected = 0);

  std::size_t hashOf(Text text) const { return hasher(text); }

  // A text that is there already keeps its note.
  struct Inserted {
    Entry entry;
    bool isNew;
  };
  Inserted insert(Text text, std::size_t note = 0);
  Entry find(Text text) const;
  // Says whether the text of this number is this one.
  bool isAt(std::size_t number, Text text) const;
  // Says whether the text, whose hash is given, was there.
  bool erase(Text text, std::size_t hash);

 private:
  // A text that is not in the slot that its hash names is in the next one, or the next after that, before the first
  // free one. So the slot of an erased text must not become free.
  struct Slot {
    std::size_t hash = 0;
    Entry entry;  // its number is NONE if free
  };

  // Gives the number of the text's slot, or of the free one that ends the search.
  std::size_t search(Text text, std::size_t hash) const;
  std::size_t append(Text text);
  void grow();

  KeyedHash hasher;
  std::u16string block;     // before each one its size, NONE if erased
  std::vector<Slot> slots;  // a power of two, at least half of them free
  std::size_t used = 0;     // slots that are not free
};

}  // namespace project::sharing::profiles
