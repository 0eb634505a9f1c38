#include "words/Nearest.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "folder_host/text/FoldedName.h"
#include "folder_host/text/Utf.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

std::u16string foldedText(const std::string& word) { return folder_host::fromBytes(folder_host::foldedName(word)); }

// How many edits make the one text of the other; `bound` where there are as many or more.
std::size_t differences(const std::u16string& a, const std::u16string& b, std::size_t bound) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) >= bound) return bound;
  std::vector<std::size_t> before, last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0U : 1U)});
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    if (*std::min_element(row.begin(), row.end()) >= bound) return bound;
    before = std::exchange(last, row);
  }
  return std::min(last.back(), bound);
}

}  // namespace

// About a third of the word: with more, any short word would be near to any other.
Nearest::Nearest(const std::string& word) : word_(foldedText(word)), bound_((word_.size() + 1) / 3 + 1) {
  constexpr std::size_t LONGEST = 300;  // nobody types more, and the time grows with the square
  if (word_.empty() || word_.size() > LONGEST) bound_ = 0;
}

void Nearest::offer(const std::string& known, const std::string& suggested) {
  if (bound_ == 0 || suggested.empty() || !isTyped(suggested)) return;
  const std::size_t distance = differences(word_, foldedText(known), bound_);
  if (distance >= bound_) return;
  bound_ = distance;
  best_ = suggested;
}

std::string Nearest::hint() const {
  return best_.empty() ? std::string() : fmt::format("; did you mean {}?", inQuotes(best_));
}

}  // namespace project_share
