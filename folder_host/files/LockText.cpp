#include "folder_host/files/LockText.h"

#include <algorithm>
#include <cstddef>

namespace folder_host {

namespace {

constexpr std::string_view PREFIX = ".project-share-";
constexpr std::string_view LOCK = ".lock";
constexpr std::string_view ASIDE = ".old";
constexpr std::string_view OWN = "It is ";
constexpr std::string_view EARLIER = "It takes the place of ";
constexpr std::size_t UUID_LENGTH = 36;

std::string numbersOf(const FileId& folder) {
  return std::to_string(folder.device) + ":" + std::to_string(folder.inode);
}

// A line holds any name: the end of a line in it is written as another byte that no name has.
std::string withoutLineEnds(std::string name) {
  std::replace(name.begin(), name.end(), '\n', '/');
  return name;
}

// Up to the delimiter, which is taken with it; empty where there is none.
std::string_view taken(std::string_view& text, char delimiter) {
  const std::size_t end = text.find(delimiter);
  if (end == text.npos) return text = {};
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(end + 1);
  return word;
}

}  // namespace

std::string stagingNameOf(const std::string& uuid) { return std::string(PREFIX) + uuid; }

std::string lockNameOf(const std::string& stagingName) { return stagingName + std::string(LOCK); }

std::string asideNameOf(const std::string& stagingName) { return stagingName + std::string(ASIDE); }

std::string nameBehind(const std::string& lock) {
  if (lock.size() != PREFIX.size() + UUID_LENGTH + LOCK.size()) return {};
  const std::string name = lock.substr(0, PREFIX.size() + UUID_LENGTH);
  const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-'; };
  const bool ours = lockNameOf(name) == lock && name.compare(0, PREFIX.size(), PREFIX) == 0 &&
                    std::all_of(name.begin() + PREFIX.size(), name.end(), isDigit);
  return ours ? name : std::string();
}

std::string lockTextOf(const std::string& stagingName) {
  return "Something is being put together in " + stagingName + "\n";
}

std::string ownLineOf(const FileId& folder) { return std::string(OWN) + numbersOf(folder) + "\n"; }

std::string earlierLineOf(const FileId& folder, const std::string& digest, const std::string& name) {
  return std::string(EARLIER) + numbersOf(folder) + " " + digest + " " + withoutLineEnds(name) + "\n";
}

LockText::LockText(std::string_view text, const std::string& stagingName) {
  const std::string begin = lockTextOf(stagingName);
  isOurs = begin.compare(0, text.size(), text.substr(0, begin.size())) == 0;
  if (!isOurs || text.size() < begin.size()) return;
  text.remove_prefix(begin.size());
  for (std::string_view line = taken(text, '\n'); !line.empty(); line = taken(text, '\n')) {
    if (line.substr(0, OWN.size()) == OWN) own.emplace_back(line.substr(OWN.size()));
    if (line.substr(0, EARLIER.size()) != EARLIER) continue;
    line.remove_prefix(EARLIER.size());
    earlier = taken(line, ' ');
    digest = taken(line, ' ');
    name = line;
    std::replace(name.begin(), name.end(), '/', '\n');
  }
}

bool LockText::owns(const FileId& folder) const {
  return std::find(own.begin(), own.end(), numbersOf(folder)) != own.end();
}

bool LockText::replaced(const FileId& folder) const { return earlier == numbersOf(folder); }

}  // namespace folder_host
