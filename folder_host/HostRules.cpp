#include "folder_host/HostRules.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "folder_host/Descriptor.h"

namespace folder_host {

namespace {

using Indices = std::vector<std::size_t>;

// Follows one link by name, as the system would, over the entries that are left.
class LinkWalk {
 public:
  LinkWalk(const EntryTable& entries, const std::vector<bool>& gone) : entries_(entries), gone_(gone) {}

  // Every entry that the way leads over, its end included; none where it leaves the project or ends nowhere.
  std::optional<Indices> follow(std::size_t link) {
    at_ = entries_.parentOf(link);
    bool onTheWay = enterLink(link);
    while (onTheWay && !names_.empty()) {
      const std::string_view name = names_.back();
      names_.pop_back();
      onTheWay = step(name);
    }
    return onTheWay ? std::optional(passed_) : std::nullopt;
  }

 private:
  static constexpr int MOST_LINKS = 40;  // the system's own bound

  bool enterLink(std::size_t link) {
    const std::string_view target = entries_[link].target;
    if (++links_ > MOST_LINKS || target.empty() || target.front() == '/') return false;
    std::size_t end = target.size();
    while (true) {
      const std::size_t separator = end == 0 ? std::string_view::npos : target.rfind('/', end - 1);
      const std::size_t begin = separator == std::string_view::npos ? 0 : separator + 1;
      names_.push_back(target.substr(begin, end - begin));
      if (begin == 0) return true;
      end = separator;
    }
  }

  bool step(std::string_view name) {
    const bool inFolder = at_ == EntryTable::ROOT || entries_[at_].kind == EntryKind::folder;
    if (!inFolder) return false;
    if (name.empty() || name == ".") return true;
    if (name == "..") return stepUp();
    const std::string folder = at_ == EntryTable::ROOT ? std::string() : entries_[at_].path;
    const auto next = entries_.find(joined(folder, std::string(name)));
    if (!next || gone_[*next]) return false;
    passed_.push_back(*next);
    if (entries_[*next].kind == EntryKind::link) return enterLink(*next);
    at_ = *next;
    return true;
  }

  bool stepUp() {
    if (at_ == EntryTable::ROOT) return false;
    at_ = entries_.parentOf(at_);
    return true;
  }

  const EntryTable& entries_;
  const std::vector<bool>& gone_;
  std::size_t at_ = EntryTable::ROOT;
  int links_ = 0;
  std::vector<std::string_view> names_;  // still to be stepped to, the next one last
  Indices passed_;
};

// A link that goes may empty its folder, and a folder that goes takes the links that lead over it: each removal is
// followed up until nothing more goes, in a time that grows with the entries and the links' ways.
class Removal {
 public:
  Removal(const EntryTable& entries, std::vector<bool>& gone)
      : entries_(entries), gone_(gone), held_(entries.size()), left_(entries.size()) {}

  HostRemovals run() {
    countChildren();
    removeLinks();
    removeEmptied();
    followUp();
    return report();
  }

 private:
  void countChildren() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const std::size_t parent = entries_.parentOf(i);
      if (parent == EntryTable::ROOT) continue;
      held_[parent] = true;
      if (!gone_[i]) ++left_[parent];
    }
  }

  void removeLinks() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (gone_[i] || entries_[i].kind != EntryKind::link) continue;
      const auto passed = LinkWalk(entries_, gone_).follow(i);
      if (!passed) remove(i);
      for (const std::size_t entry : passed.value_or(Indices())) linksOver_[entry].push_back(i);
    }
  }

  void removeEmptied() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (held_[i] && left_[i] == 0) remove(i);
    }
  }

  void remove(std::size_t entry) {
    if (gone_[entry]) return;
    gone_[entry] = true;
    removed_.push_back(entry);
  }

  void followUp() {
    for (std::size_t next = 0; next < removed_.size(); ++next) {
      const std::size_t entry = removed_[next];
      const std::size_t parent = entries_.parentOf(entry);
      if (parent != EntryTable::ROOT && --left_[parent] == 0) remove(parent);
      const auto links = linksOver_.find(entry);
      if (links == linksOver_.end()) continue;
      for (const std::size_t link : links->second) remove(link);
    }
  }

  HostRemovals report() {
    HostRemovals removals;
    std::sort(removed_.begin(), removed_.end());
    for (const std::size_t entry : removed_) {
      const bool link = entries_[entry].kind == EntryKind::link;
      (link ? removals.links : removals.emptied).push_back(entries_[entry].path);
    }
    return removals;
  }

  const EntryTable& entries_;
  std::vector<bool>& gone_;
  std::vector<bool> held_;         // folders with anything in them in the listing
  std::vector<std::size_t> left_;  // how many entries of a folder are left
  std::unordered_map<std::size_t, Indices> linksOver_;
  Indices removed_;
};

}  // namespace

HostRemovals removeByHostRules(const EntryTable& entries, std::vector<bool>& gone) {
  return Removal(entries, gone).run();
}

}  // namespace folder_host
