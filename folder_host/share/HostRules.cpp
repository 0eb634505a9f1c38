#include "folder_host/share/HostRules.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

namespace {

using Indices = std::vector<std::size_t>;

// Follows links by name, as the system would, over the entries that are shared. Where each leads is found once, however
// many others lead over it: crafted links would else lead over each other again and again.
// The system cannot be asked where a link leads: it would follow it through what is held back, and through what changed
// since the folder was listed. What is decided here holds for the copy, in which only the entries that are shared
// exist.
class Links {
 public:
  // Every entry that the way of one link leads over, links that are followed in turn standing for their own ways, and
  // its end.
  struct Way {
    bool known = false;  // it has been walked to its end; else it is being walked
    bool leads = false;  // to an entry or the project's folder; else out of the project, or nowhere
    int links = 0;       // how many are followed, this one included
    std::size_t end = EntryTable::ROOT;
    Indices passed;
  };

  Links(const EntryTable& entries, const Selection& heldBack, std::size_t top)
      : entries_(entries), heldBack_(heldBack), top_(top) {}

  const Way& follow(std::size_t link) {
    if (ways_.count(link) == 0) walk(link);
    return ways_.at(link);
  }

 private:
  static constexpr int MOST_LINKS = 40;  // the system's own bound

  struct Walk {
    std::size_t link;
    std::string_view rest;  // of the target
    bool ended = false;     // all of it has been walked
    Way way;
  };

  // A link that is met on the way is walked first, and then met again.
  void walk(std::size_t first) {
    begin(first);
    while (!walks_.empty()) {
      Walk& walk = walks_.back();
      const auto met = walk.ended ? std::nullopt : step(walk);
      if (met) {
        begin(*met);
      } else if (walk.ended) {
        end();
      }
    }
  }

  void begin(std::size_t link) {
    const std::string_view target = entries_[link].target;
    // An absolute target leads out of the copy, even where it names the project: the copy lies elsewhere.
    const bool inside = !target.empty() && target.front() != '/';
    Walk walk{link, target, !inside, {true, inside, 1, entries_.parentOf(link), {}}};
    // Known, but not to its end: a link that leads over itself meets this and is lost, and the walk ends.
    ways_[link] = {};
    walks_.push_back(std::move(walk));
  }

  void end() {
    Walk& walk = walks_.back();
    Indices& passed = walk.way.passed;
    std::sort(passed.begin(), passed.end());
    passed.erase(std::unique(passed.begin(), passed.end()), passed.end());
    ways_[walk.link] = std::move(walk.way);
    walks_.pop_back();
  }

  // Walks over the next name of the target. Gives the link that has to be walked before, if there is one.
  std::optional<std::size_t> step(Walk& walk) {
    const std::size_t separator = walk.rest.find('/');
    const std::string_view name = walk.rest.substr(0, separator);
    std::size_t& at = walk.way.end;
    const bool inFolder = at == EntryTable::ROOT || entries_[at].kind == EntryKind::folder;
    // Above the top, the copy lies in a folder of any name: a link that leads out and in again leads nowhere there.
    if (!inFolder || (name == ".." && at == top_)) return lost(walk);
    if (name == "..") {
      at = entries_.parentOf(at);
    } else if (!name.empty() && name != ".") {
      const auto next =
          entries_.find(joined(at == EntryTable::ROOT ? std::string() : entries_[at].path, std::string(name)));
      if (!next || heldBack_[*next]) return lost(walk);
      const bool isLink = entries_[*next].kind == EntryKind::link;
      if (isLink && ways_.count(*next) == 0) return next;
      if (isLink && !join(walk.way, ways_.at(*next))) return lost(walk);
      if (!isLink) at = *next;
      walk.way.passed.push_back(*next);
    }
    walk.ended = separator == std::string_view::npos;
    walk.rest.remove_prefix(walk.ended ? walk.rest.size() : separator + 1);
    return std::nullopt;
  }

  static bool join(Way& way, const Way& met) {
    way.links += met.links;
    way.end = met.end;
    return met.known && met.leads && way.links <= MOST_LINKS;
  }

  static std::nullopt_t lost(Walk& walk) {
    walk.ended = true;
    walk.way.leads = false;
    walk.way.passed.clear();
    return std::nullopt;
  }

  const EntryTable& entries_;
  const std::vector<bool>& heldBack_;
  const std::size_t top_;
  std::unordered_map<std::size_t, Way> ways_;  // by the link
  std::vector<Walk> walks_;                    // each was met on the way of the one before
};

// A link that is held back may empty its folder, and a folder that is takes the links that lead over it with it: each
// removal is followed up until there is no other, in a time that grows with the entries and the links' ways.
class Removal {
 public:
  Removal(const EntryTable& entries, Selection& heldBack, std::size_t top)
      : entries_(entries), heldBack_(heldBack), top_(top), held_(entries.size()), shared_(entries.size()) {}

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
      if (!heldBack_[i]) ++shared_[parent];
    }
  }

  void removeLinks() {
    Links links(entries_, heldBack_, top_);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (heldBack_[i] || entries_[i].kind != EntryKind::link) continue;
      const Links::Way& way = links.follow(i);
      if (!way.leads) remove(i);
      for (const std::size_t entry : way.passed) linksOver_.emplace_back(entry, i);
    }
    std::sort(linksOver_.begin(), linksOver_.end());
  }

  // An emptied folder betrays by its name what was in it. A folder that was empty in the project betrays nothing, and
  // may be wanted.
  void removeEmptied() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (held_[i] && shared_[i] == 0) remove(i);
    }
  }

  void remove(std::size_t entry) {
    if (heldBack_[entry]) return;
    heldBack_[entry] = true;
    removed_.push_back(entry);
  }

  void followUp() {
    for (std::size_t next = 0; next < removed_.size(); ++next) {
      const std::size_t entry = removed_[next];
      const std::size_t parent = entries_.parentOf(entry);
      if (parent != EntryTable::ROOT && --shared_[parent] == 0) remove(parent);
      auto over = std::lower_bound(linksOver_.begin(), linksOver_.end(), std::pair(entry, std::size_t{0}));
      for (; over != linksOver_.end() && over->first == entry; ++over) remove(over->second);
    }
  }

  HostRemovals report() {
    HostRemovals removals;
    std::sort(removed_.begin(), removed_.end());
    for (const std::size_t entry : removed_) {
      const bool link = entries_[entry].kind == EntryKind::link;
      (link ? removals.links : removals.emptied).push_back(entry);
    }
    return removals;
  }

  const EntryTable& entries_;
  std::vector<bool>& heldBack_;
  const std::size_t top_;
  std::vector<bool> held_;                                      // folders with anything in them in the listing
  std::vector<std::size_t> shared_;                             // how many entries of a folder are shared
  std::vector<std::pair<std::size_t, std::size_t>> linksOver_;  // an entry, and a link whose way leads over it; sorted
  Indices removed_;
};

}  // namespace

HostRemovals holdBackByHostRules(const EntryTable& entries, Selection& heldBack, std::size_t top) {
  return Removal(entries, heldBack, top).run();
}

}  // namespace folder_host
