#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace project::sharing::profiles {

// A set of texts, each in a group: a text may be in several. All texts stand in one block of memory, their hashes in
// another, so that a question reads one place if the text is not there and two if it is; the standard sets follow
// pointers to four. With thousands of texts that is most of the time.
class TextSet {
 public:
  using Text = std::u16string_view;

  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  // Made for that many, and grows beyond.
  explicit TextSet(std::size_t texts = 0);

  static std::size_t hashOf(Text text, std::size_t group = 0);

  bool empty() const { return used_ == 0; }

  // No other text of the set has this number, however the set grows.
  struct Inserted {
    std::size_t number;
    bool isNew;
  };
  Inserted insert(Text text, std::size_t group = 0);
  // Its number; NONE if it is not there.
  std::size_t find(Text text, std::size_t group = 0) const;
  // From the group 0, given its hash. Whether it was there.
  bool erase(Text text, std::size_t hash);

 private:
  // A text that is not in the slot that its hash says is in the next one, or the next..., before the first free one.
  // That of an erased text is not free.
  struct Slot {
    std::size_t hash = 0;
    std::size_t begin = NONE;  // if free
    std::size_t size = 0;      // NONE if erased
    std::size_t group = 0;
  };

  bool holds(const Slot& slot, Text text, std::size_t hash, std::size_t group) const;
  // The number of its slot, or of the free one that ends the search.
  std::size_t search(Text text, std::size_t hash, std::size_t group) const;
  void grow();

  std::u16string texts_;
  std::vector<Slot> slots_;  // a power of two, at least half of them free
  std::size_t used_ = 0;
};

}  // namespace project::sharing::profiles
