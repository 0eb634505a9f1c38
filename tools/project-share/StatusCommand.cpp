#include <fmt/format.h>

#include <set>

#include "Amiss.h"
#include "Commands.h"
#include "Lookup.h"
#include "Output.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::LabelRecord;

namespace {

// A filter selects nothing by a label that is gone.
void printGoneItems(profiles::ExportProfileManager& manager, const std::vector<LabelRecord>& records) {
  std::set<std::pair<std::u16string, std::u16string>> known;
  for (const LabelRecord& label : records) known.emplace(label.categoryUUID, label.uuid);
  forEachItem(manager, [&](const auto& profile, const auto& filter, const auto& item) {
    if (known.count({item.category, item.labelUUID}) != 0) return;
    line(fmt::format("gone  {}  named by profile {} in its {} filter", shown(item.labelUUID), shown(profile.getName()),
                     wordOf(filter.getType())));
  });
}

std::set<std::string> labelledPaths(const folder_host::LabelStore& labels, const std::vector<LabelRecord>& records) {
  std::set<std::string> paths;
  for (const LabelRecord& label : records) {
    for (std::string& path : labels.pathsOf(label.uuid)) paths.insert(std::move(path));
  }
  return paths;
}

}  // namespace

void showStatus() {
  const FolderProject project = FolderProject::open(".");
  const auto copy = project.workingCopy();  // store and folder as they stand at one moment
  const folder_host::LabelStore& labels = copy->getLabelManager();
  const std::vector<LabelRecord> records = labels.list();
  const std::set<std::string> labelled = labelledPaths(labels, records);

  for (const std::string& one : amissIn(*copy)) line(one);
  printGoneItems(*profiles::createManager(copy->getMetadataManager()), records);

  const std::vector<folder_host::Entry>& entries = copy->listing().entries;
  std::size_t unlabelled = 0;
  for (const folder_host::Entry& entry : entries) unlabelled += labelled.count(entry.path) == 0 ? 1U : 0U;
  line(fmt::format("{}: {}, {} of them without a label; {}.", shown(project.root()),
                   counted(entries.size(), "entry", "entries"), unlabelled,
                   counted(records.size(), "label", "labels")));
}

}  // namespace project_share
