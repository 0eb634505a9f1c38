#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "filters/KeyedHash.h"

namespace project::sharing::profiles {

// A set of texts, each with a note. All texts stand in one block of memory, their hashes in another, so that a question
// reads one place if the text is not there and two if it is; the standard sets follow pointers to four. With thousands
// of texts that is most of the time.
class TextSet {
 public:
  using Text = std::u16string_view;

  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  struct Entry {
    std::size_t number = NONE;  // if there is no such text; no other has this one, however the set grows
    std::size_t note = 0;
  };

  // Made for that many, and grows beyond.
  explicit TextSet(const KeyedHash& hash, std::size_t expected = 0);

  std::size_t hashOf(Text text) const { return hasher(text); }

  // One that is there keeps its note.
  struct Inserted {
    Entry entry;
    bool isNew;
  };
  Inserted insert(Text text, std::size_t note = 0);
  Entry find(Text text) const;
  // Whether the text of this number is this one.
  bool isAt(std::size_t number, Text text) const;
  // Given its hash. Whether it was there.
  bool erase(Text text, std::size_t hash);

 private:
  // A text that is not in the slot that its hash says is in the next one, or the next..., before the first free one.
  // That of an erased text is not free.
  struct Slot {
    std::size_t hash = 0;
    Entry entry;  // its number is NONE if free
  };

  // The number of its slot, or of the free one that ends the search.
  std::size_t search(Text text, std::size_t hash) const;
  std::size_t append(Text text);
  void grow();

  KeyedHash hasher;
  std::u16string block;     // before each one its size, NONE if erased
  std::vector<Slot> slots;  // a power of two, at least half of them free
  std::size_t used = 0;     // slots that are not free
};

}  // namespace project::sharing::profiles
