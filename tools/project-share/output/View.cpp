#include "output/View.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <set>

#include "output/Output.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::Selection;

namespace {

// Entries are sorted by bytes, where "a-b" stands between "a" and "a/x". A tree has what lies in a folder behind it.
// What lies in one folder is in the same order in both: so a place is that of the folder and what comes before in it.
std::vector<std::uint32_t> treeOrder(const EntryTable& entries) {
  std::vector<std::uint32_t> sizes(entries.size(), 1);  // with all that lies below
  for (std::size_t i = sizes.size(); i-- > 0;) {
    if (entries.parentOf(i) != EntryTable::ROOT) sizes[entries.parentOf(i)] += sizes[i];
  }
  std::vector<std::uint32_t> order(entries.size());
  std::uint32_t next = 0;                     // at the top
  std::vector<std::uint32_t>& nexts = sizes;  // of a folder that has its place: where the next in it stands
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::size_t parent = entries.parentOf(i);
    std::uint32_t& free = parent == EntryTable::ROOT ? next : nexts[parent];
    const std::uint32_t place = free;
    free += sizes[i];
    order[place] = static_cast<std::uint32_t>(i);
    nexts[i] = place + 1;
  }
  return order;
}

class View {
 public:
  View(const folder_host::WorkingCopy& project, const Judgement& judgement, const ViewWords& words)
      : project_(project),
        table_(project.table()),
        judgement_(judgement),
        words_(words),
        named_(words.paths.begin(), words.paths.end()),
        below_(countedBelow(project, judgement)),
        entries_(table_.size()) {
    for (std::size_t i = 0; i < entries_.size(); ++i) entries_[i].level = levelOf(i);
    // What lies in a folder stands behind it in the table: from the end on, each entry is complete when it is asked.
    for (std::size_t i = entries_.size(); i-- > 0;) addTo(table_.parentOf(i), i);
    for (std::size_t i = 0; i < entries_.size(); ++i) setShown(i);
  }

  std::vector<ViewLine> lines() const {
    std::vector<ViewLine> lines;
    lines.reserve(static_cast<std::size_t>(
        std::count_if(entries_.begin(), entries_.end(), [](const Shown& one) { return one.isShown; })));
    for (const std::size_t i : treeOrder(table_)) {
      if (!entries_[i].isShown) continue;
      lines.push_back({i, entries_[i].indent, {}});
      if (isLast(i)) lines.back().below = below_[i];
    }
    return lines;
  }

 private:
  static constexpr std::uint32_t NOWHERE = UINT32_MAX;

  struct Shown {
    std::uint32_t level = NOWHERE;  // below the nearest path that was named, or the scope
    std::uint32_t indent = 0;
    bool isWantedBelow = false;
    bool isShown = false;
  };

  std::uint32_t levelOf(std::size_t entry) const {
    if (named_.count(table_[entry].path) != 0) return 0;
    const std::size_t folder = table_.parentOf(entry);
    if (named_.empty() && folder == project_.scope()) return 1;
    if (folder == EntryTable::ROOT) return NOWHERE;
    const std::uint32_t above = entries_[folder].level;
    return above == NOWHERE ? NOWHERE : above + 1;
  }

  bool isShared(std::size_t entry) const { return judgement_.reasons[entry].rule == Reason::Rule::none; }

  bool isWanted(std::size_t entry) const {
    if (words_.only == "held-back") return !isShared(entry);
    if (words_.only == "shared") return isShared(entry);
    return words_.only.empty() || project_.effective().of(entry).empty();
  }

  void addTo(std::size_t folder, std::size_t entry) {
    if (folder == EntryTable::ROOT) return;
    Shown& above = entries_[folder];
    above.isWantedBelow = above.isWantedBelow || entries_[entry].isWantedBelow || isWanted(entry);
  }

  bool isLast(std::size_t entry) const {
    return words_.depth > 0 && entries_[entry].level == words_.depth && table_[entry].kind == EntryKind::folder;
  }

  void setShown(std::size_t entry) {
    Shown& one = entries_[entry];
    const bool isInside = one.level != NOWHERE && (words_.depth == 0 || one.level <= words_.depth);
    one.isShown = isInside && (isWanted(entry) || (isLast(entry) && one.isWantedBelow));
    const std::size_t folder = table_.parentOf(entry);
    if (folder != EntryTable::ROOT && entries_[folder].isShown) one.indent = entries_[folder].indent + 1;
  }

  const folder_host::WorkingCopy& project_;
  const EntryTable& table_;
  const Judgement& judgement_;
  const ViewWords& words_;
  const std::set<std::string> named_;
  const std::vector<Below> below_;
  std::vector<Shown> entries_;
};

}  // namespace

std::vector<Below> countedBelow(const folder_host::WorkingCopy& project, const Judgement& judgement) {
  const EntryTable& table = project.table();
  std::vector<Below> below(table.size());
  for (std::size_t i = below.size(); i-- > 0;) {  // what lies in a folder stands behind it
    const std::size_t folder = table.parentOf(i);
    if (folder == EntryTable::ROOT) continue;
    const bool isShared = judgement.reasons[i].rule == Reason::Rule::none;
    below[folder].shared += below[i].shared + (isShared ? 1 : 0);
    below[folder].heldBack += below[i].heldBack + (isShared ? 0 : 1);
  }
  return below;
}

const std::vector<std::string>& viewWords() {
  static const std::vector<std::string> words{"held-back", "shared", "unlabelled"};
  return words;
}

std::vector<ViewLine> viewOf(const folder_host::WorkingCopy& project, const Judgement& judgement,
                             const ViewWords& words) {
  return View(project, judgement, words).lines();
}

void printView(const folder_host::WorkingCopy& project, const ViewWords& words, std::size_t shown) {
  if (words.paths.empty() && words.only.empty() && words.depth == 0) return;
  const Selection inside = project.inScope();
  const auto all = static_cast<std::size_t>(std::count(inside.begin(), inside.end(), true));
  Json object{{"type", "view"}, {"entries", all}, {"shown", shown}, {"paths", Json::array()}};
  for (const std::string& path : words.paths) {
    object["paths"].push_back(Json::object());
    putPath(object["paths"].back(), "path", path);
  }
  if (!words.only.empty()) object["only"] = words.only;
  if (words.depth > 0) object["depth"] = words.depth;
  item(fmt::format("Of {}, {} {} shown. What follows is about the whole share.", counted(all, "entry", "entries"),
                   shown, shown == 1 ? "is" : "are"),
       object);
}

}  // namespace project_share
