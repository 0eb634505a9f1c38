#include "words/NameIndex.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "Refusal.h"
#include "folder_host/text/Utf.h"
#include "words/Names.h"
#include "words/Nearest.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::toBytes;

namespace {

std::u16string inSmallLetters(std::u16string uuid) {
  for (char16_t& c : uuid) c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
  return uuid;
}

}  // namespace

void NameIndex::add(const std::u16string& name, const std::u16string& shortName, const std::u16string& uuid) {
  if (!name.empty()) byName_.emplace(name, all_.size());
  if (!shortName.empty()) byShortName_.emplace(shortName, all_.size());
  byUUID_.emplace(uuid, all_.size());
  bySmallUUID_.emplace(inSmallLetters(uuid), all_.size());
  all_.push_back({name, shortName, uuid});
}

std::vector<std::size_t> NameIndex::find(const std::string& word) const {
  constexpr std::size_t SHORTEST = 8;  // a beginning, typed by chance, would be a guess
  const std::u16string text = folder_host::fromBytes(word);
  std::vector<std::size_t> found;
  const std::u16string small = inSmallLetters(text);
  for (const Index* index : {&byName_, &byShortName_, &byUUID_, &bySmallUUID_}) {
    const auto [first, last] = index->equal_range(index == &bySmallUUID_ ? small : text);
    for (auto one = first; one != last; ++one) found.push_back(one->second);
    if (!found.empty()) return found;
  }
  for (auto one = bySmallUUID_.lower_bound(small); small.size() >= SHORTEST && one != bySmallUUID_.end(); ++one) {
    if (one->first.compare(0, small.size(), small) != 0) break;
    found.push_back(one->second);
  }
  return found;
}

std::size_t NameIndex::require(const std::string& word, const Naming& naming, const std::string& more) const {
  const std::vector<std::size_t> found = find(word);
  if (found.size() == 1) return found.front();
  if (found.empty()) {
    Nearest nearest(word);
    for (const Known& known : all_) {
      nearest.offer(toBytes(known.name));
      nearest.offer(toBytes(known.shortName), toBytes(known.name));
    }
    throw Refusal(naming.absent,
                  fmt::format("there is no {} {}{} {}to see all: {}", naming.what, inQuotes(word),
                              nearest.best().empty() ? ";" : nearest.hint(), more, commandOf({naming.what, "list"})));
  }
  throw Refusal(naming.ambiguous,
                fmt::format("{} may mean {} {}s; give {}", inQuotes(word), found.size(), naming.what, choiceOf(found)));
}

// By their names or, where two have one name, by their UUIDs.
std::string NameIndex::choiceOf(const std::vector<std::size_t>& found) const {
  constexpr std::size_t MOST = 5;
  std::set<std::u16string> names;
  for (const std::size_t one : found) names.insert(all_[one].name);
  std::string choice;
  for (std::size_t i = 0; i < std::min(found.size(), MOST); ++i) {
    const Known& known = all_[found[i]];
    choice += (i == 0 ? "" : " or ") + inQuotes(names.size() == found.size() ? known.name : known.uuid);
  }
  return found.size() > MOST ? choice + " or another one" : choice;
}

}  // namespace project_share
