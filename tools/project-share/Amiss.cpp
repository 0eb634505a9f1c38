#include "Amiss.h"

#include <fmt/format.h>

#include <set>

#include "Lookup.h"
#include "Output.h"

namespace project_share {

namespace {

void addDangling(folder_host::WorkingCopy& copy, std::vector<std::string>& lines) {
  std::set<std::string> entries;
  for (const folder_host::Entry& entry : copy.listing().entries) entries.insert(entry.path);
  const folder_host::LabelStore& labels = copy.getLabelManager();
  for (const folder_host::LabelRecord& label : labels.list()) {
    for (const std::string& path : labels.pathsOf(label.uuid)) {
      if (entries.count(path) != 0) continue;
      lines.push_back(fmt::format("dangling  {}  on {}, which is gone: renamed or moved, it has lost its labels",
                                  nameOf(label), shown(path)));
    }
  }
}

}  // namespace

std::vector<std::string> amissIn(folder_host::WorkingCopy& copy) {
  std::vector<std::string> lines;
  addDangling(copy, lines);
  for (const std::string& path : copy.listing().nestedProjects) {
    lines.push_back(fmt::format("project  {}/  is a project of its own and stops every share", shown(path)));
  }
  for (const std::string& path : copy.listing().skipped) {
    lines.push_back(fmt::format("skipped  {}  no file, folder or link", shown(path)));
  }
  return lines;
}

}  // namespace project_share
