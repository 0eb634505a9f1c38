#include "folder_host/text/Patterns.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace folder_host {

namespace {

constexpr std::size_t noEnding = static_cast<std::size_t>(-1);

// Of "//" and the path. Nothing that is looked for begins with more than two '/', so there may be any number of them.
unsigned char byteFromEnd(std::string_view path, std::size_t at) {
  return static_cast<unsigned char>(at < path.size() ? path[path.size() - 1 - at] : '/');
}

// How many bytes of an ending, which is written from its end, the path has.
std::size_t commonBytes(std::string_view ending, std::string_view path) {
  std::size_t count = 0;
  while (count < ending.size() && static_cast<unsigned char>(ending[count]) == byteFromEnd(path, count)) ++count;
  return count;
}

}  // namespace

const char* patternFault(std::string_view text) { return Glob(text).fault(); }

PatternTable::PatternTable(const std::vector<Pattern>& patterns) {
  owners_.reserve(patterns.size());
  for (const Pattern& pattern : patterns) {
    Glob glob(pattern.text);
    if (const auto ending = glob.onlyEnding()) {
      endings_.push_back({{ending->rbegin(), ending->rend()}, owners_.size(), glob.isFoldersOnly(), noEnding});
    } else {
      globs_.push_back({std::move(glob), owners_.size()});
    }
    owners_.push_back(pattern.owner);
  }
  sortEndings();
}

void PatternTable::sortEndings() {
  std::sort(endings_.begin(), endings_.end(), [](const Ending& a, const Ending& b) { return a.text < b.text; });
  for (std::size_t i = 1; i < endings_.size(); ++i) {
    std::size_t shorter = i - 1;
    while (shorter != noEnding &&
           endings_[i].text.compare(0, endings_[shorter].text.size(), endings_[shorter].text) != 0) {
      shorter = endings_[shorter].shorter;
    }
    endings_[i].shorter = shorter;
  }
}

void PatternTable::match(std::string_view path, bool isFolder, std::vector<std::size_t>& deciding) const {
  deciding.clear();
  addEndings(path, isFolder, deciding);
  if (!globs_.empty()) {
    const Glob::Candidate candidate(path, isFolder);
    for (const auto& [glob, pattern] : globs_) {
      if (glob.matches(candidate)) deciding.push_back(pattern);
    }
  }
  if (deciding.size() > 1) keepDeciding(deciding);
}

// The last ending that is not behind the path in their order shares more with the path than any other: all that the
// path ends with are this one and those it begins with.
void PatternTable::addEndings(std::string_view path, bool isFolder, std::vector<std::size_t>& matching) const {
  const auto behind = std::partition_point(endings_.begin(), endings_.end(), [&](const Ending& ending) {
    const std::size_t common = commonBytes(ending.text, path);
    return common == ending.text.size() || static_cast<unsigned char>(ending.text[common]) < byteFromEnd(path, common);
  });
  if (behind == endings_.begin()) return;
  auto i = static_cast<std::size_t>(behind - endings_.begin()) - 1;
  const std::size_t common = commonBytes(endings_[i].text, path);
  for (; i != noEnding; i = endings_[i].shorter) {
    const Ending& ending = endings_[i];
    if (ending.text.size() <= common && (isFolder || !ending.isFoldersOnly)) matching.push_back(ending.pattern);
  }
}

void PatternTable::keepDeciding(std::vector<std::size_t>& matching) const {
  std::sort(matching.begin(), matching.end(), [&](std::size_t a, std::size_t b) {
    return std::tie(owners_[a], b) < std::tie(owners_[b], a);  // the last one of an owner first
  });
  const auto end = std::unique(matching.begin(), matching.end(),
                               [&](std::size_t a, std::size_t b) { return owners_[a] == owners_[b]; });
  matching.erase(end, matching.end());
}

}  // namespace folder_host
