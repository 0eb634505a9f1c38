#include "judgement/Unlabelled.h"

#include <fmt/format.h>

#include <map>
#include <utility>

#include "folder_host/text/Printable.h"

namespace project_share {

using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::inQuotes;
using folder_host::WorkingCopy;

std::vector<bool> labelledIn(const WorkingCopy& project) {
  std::vector<bool> labelled(project.table().size());
  for (std::size_t i = 0; i < labelled.size(); ++i) labelled[i] = !project.effective().of(i).empty();
  return labelled;
}

std::vector<std::size_t> unlabelledTops(const EntryTable& table, const std::vector<bool>& labelled) {
  std::vector<bool> isMixed = labelled;
  for (std::size_t i = table.size(); i-- > 0;) {
    const std::size_t folder = table.parentOf(i);
    if (folder != EntryTable::ROOT) isMixed[folder] = isMixed[folder] || isMixed[i];
  }
  std::vector<std::size_t> tops(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::size_t folder = table.parentOf(i);
    tops[i] = folder == EntryTable::ROOT || isMixed[folder] ? i : tops[folder];
  }
  return tops;
}

namespace {

using Group = std::vector<std::size_t>;

// A few of them have their names in the sentence, and a command. Of more, people look for the folder.
constexpr std::size_t MOST_NAMED = 20;

Risk unlabelledRisk(const EntryTable& table, std::size_t top, const Group& group, const Mending& mending) {
  Risk risk{risks::UNLABELLED_SHARED.identifier, table[group.front()].path, {}};
  std::string names;
  for (std::size_t i = 0; i < group.size(); ++i) {
    const std::string& path = table[group[i]].path;
    if (i > 0) risk.otherPaths.push_back(path);
    if (i < MOST_NAMED) names += (i > 0 ? ", " : "") + inQuotes(path);
  }
  if (group.size() > MOST_NAMED) names += fmt::format(" and {} more", group.size() - MOST_NAMED);
  const bool isFolder = table[top].kind == EntryKind::folder;
  const bool isOne = group.size() == 1;
  risk.what =
      isFolder ? fmt::format("in {}, where nothing has a label, {} {} would be shared", inQuotes(table[top].path + "/"),
                             group.size(), isOne ? "file or link" : "files and links")
               : names + " would be shared without a label";
  Paths paths{table[top].path};
  if (!isFolder) paths.insert(paths.end(), risk.otherPaths.begin(), risk.otherPaths.end());
  if (paths.size() > MOST_NAMED) {
    risk.mends = {{"label them"}};
  } else {
    risk.mends = {mending.holdBack(paths), {"if it may be shared", mending.attach("LABEL", paths)}};
  }
  return risk;
}

}  // namespace

// Many files can lie in a folder, and a line each would bury what else was found.
void addUnlabelled(const WorkingCopy& project, const Mending& mending, Judgement& judgement) {
  const EntryTable& table = project.table();
  const std::vector<bool> labelled = labelledIn(project);
  const std::vector<std::size_t> tops = unlabelledTops(table, labelled);
  std::map<std::pair<std::size_t, bool>, Group> groups;  // by the folder, and whether all of it has no label
  for (std::size_t i = 0; i < table.size(); ++i) {
    const bool isShared = judgement.reasons[i].rule == Reason::Rule::none;
    if (!isShared || labelled[i] || table[i].kind == EntryKind::folder) continue;
    const bool isAlone = tops[i] == i;
    groups[{isAlone ? table.parentOf(i) : tops[i], !isAlone}].push_back(i);
  }
  for (const auto& [place, group] : groups) {
    judgement.found.risks.push_back(unlabelledRisk(table, place.second ? place.first : group.front(), group, mending));
  }
}

}  // namespace project_share
