#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace project_share {

// Of what there is, the name that somebody may have meant who typed a word that names nothing: one that differs in a
// few characters, each left out, put in, exchanged, or swapped with the next one; in upper and lower case by none.
// A name that cannot be typed as it looks is never suggested.
class Nearest {
 public:
  explicit Nearest(const std::string& word);

  // A name that could have been typed, and what is to be typed instead. Of equals, the first one offered stays.
  void offer(const std::string& known, const std::string& suggested);
  void offer(const std::string& known) { offer(known, known); }

  // Empty where nothing is near.
  const std::string& best() const noexcept { return best_; }
  // "; did you mean 'audience/internal'?" or nothing: behind a sentence.
  std::string hint() const;

 private:
  std::u16string word_;
  std::size_t bound_;  // differences from here on are too many
  std::string best_;
};

}  // namespace project_share
