#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace project_share {

// What one kind of named thing is called in a refusal, and the refusals' identifiers.
struct Naming {
  const char* what;  // also the group of commands that lists them
  const char* absent;
  const char* ambiguous;
};

// Things that people name, found by what they type: by the whole name; where none has it, by the short name; where
// none has that, by the UUID; at last by the beginning of one, of 8 characters at least. So whatever looks like a UUID,
// a name always wins. Names are taken to the letter, UUIDs in capitals or small letters.
class NameIndex {
 public:
  // Things are known by their order from then on. An empty name is none.
  void add(const std::u16string& name, const std::u16string& shortName, const std::u16string& uuid);

  // All that the word may mean.
  std::vector<std::size_t> find(const std::string& word) const;

  // The one that it means. Of several none is chosen: a guess could label, or hand out, by the wrong one. Errors: those
  // of `naming`; `more` is put behind a refusal of what is absent.
  std::size_t require(const std::string& word, const Naming& naming, const std::string& more = {}) const;

 private:
  using Index = std::multimap<std::u16string, std::size_t>;

  struct Known {
    std::u16string name, shortName, uuid;
  };

  std::string choiceOf(const std::vector<std::size_t>& found) const;

  std::vector<Known> all_;
  Index byName_, byShortName_, byUUID_, bySmallUUID_;
};

}  // namespace project_share
