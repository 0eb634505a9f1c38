#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Entries.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::LabelRecord;

void listLabelsOf(const std::vector<std::string>& named) {
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  for (const std::string& one : named) {
    const auto entry = copy->table().find(project.locate(one));
    if (!entry) {
      throw noEntry(copy->root(), copy->table(), project.locate(one), one);
    }
    const auto& listed = copy->table()[*entry];
    Json object{{"type", "entry"}};
    object.update(jsonOf(listed));
    object["labels"] = jsonOfLabels(*copy, *entry);
    if (manner().json) {
      item({}, object);
      continue;
    }
    line(freeName(nameOf(listed)));
    const auto labels = labelTextsOf(*copy, *entry);
    for (const std::string& label : labels) line("  " + label);
    if (labels.empty()) line("  no label");
  }
}

void listFilesOf(const std::string& word) {
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  const LabelRecord label = LabelIndex(copy->labels().list()).named(word);
  const auto& labels = copy->effective();
  const std::size_t index = labels.sources().find(label.uuid).value();
  for (std::size_t i = 0; i < copy->table().size(); ++i) {
    const auto& entry = copy->table()[i];
    const auto had = copy->followed().differing().find(i);
    const auto hasIt = [&](const folder_host::LabelSet& set) {
      return std::binary_search(set.begin(), set.end(), index);
    };
    const bool has = hasIt(labels.of(i)),
               isFollowed = !has && had != copy->followed().differing().end() && hasIt(had->second.labels);
    if (!has && !isFollowed) continue;
    const auto source = labels.sources().sourceOf(entry.path, entry.kind == folder_host::EntryKind::folder, index);
    Json object{{"type", "entry"}};
    object.update(jsonOf(entry));
    object["source"] = isFollowed ? jsonOfFollowed(had->second.from) : jsonOf(source, entry.path);
    item(fmt::format("{}  {}", freeName(nameOf(entry)),
                     isFollowed ? followedText(had->second.from) : textOf(source, entry.path)),
         object);
  }
}

}  // namespace project_share
