#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/labels/LabelSources.h"
#include "folder_host/text/Utf.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::LabelRecord;

namespace {

// A filter selects nothing by a label that is deleted: what it was to hold back would be shared.
void refuseInUse(profiles::ExportProfileManager& manager, const LabelRecord& label) {
  forEachItem(manager, [&](const auto& profile, const auto& filter, const auto& item) {
    if (item.labelUUID != label.uuid) return;
    throw Refusal(refusals::LABEL_IN_USE,
                  fmt::format("profile {} names {} in its {} filter; take it out there first: {}",
                              inQuotes(nameOf(profile)), inQuotes(nameOf(label)), wordOf(filter.getType()),
                              commandOf({"profile", "remove-filter", folder_host::toBytes(nameOf(profile)),
                                         wordOf(filter.getType()), nameOf(label)})));
  });
}

}  // namespace

void createLabels(const std::vector<std::string>& labels) {
  const FolderProject project = openProject();
  const std::vector<LabelRecord> made = edit(project, [&] {
    std::vector<LabelRecord> records;
    // Looked up within the scope: another command may be making the same label.
    LabelLooks looks(project.labels().list());
    for (const std::string& label : labels) {
      const auto [category, name] = splitLabel(label);
      looks.add(category, name);
      records.push_back(project.labels().create(category, name));
    }
    return records;
  });
  for (const LabelRecord& label : made) {
    done(fmt::format("Created label {}{}.", inQuotes(nameOf(label)), uuidBehind(label.uuid)), jsonOf(label));
  }
}

void listLabels() {
  const FolderProject project = openProject();
  // Labels and their numbers of paths are of one moment.
  const auto scope = project.metadata()->beginReadScope();
  printLabels(project.labels().list(), folder_host::LabelSources(project.labels()));
}

void renameLabel(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    const LabelIndex labels(project.labels().list());
    LabelRecord found = labels.named(word);
    // Not compared with itself, or nobody could change upper and lower case in a name.
    LabelLooks(labels.records(), found.uuid).add(found.categoryName, folder_host::fromBytes(name));
    project.labels().rename(found.uuid, folder_host::fromBytes(name));
    return found;
  });
  done(fmt::format("Renamed label {} to {}{}.", inQuotes(nameOf(label)), inQuotes(name), uuidBehind(label.uuid)),
       {{"uuid", utf8(label.uuid)}, {"category", utf8(label.categoryName)}, {"name", utf8(name)}});
}

void deleteLabel(const std::string& word) {
  const FolderProject project = openProject();
  const Table table = tableOf(project);
  const auto followed = project.followed(table);
  const auto [label, counts] = edit(project, [&] {
    project.note(followed->openAt({""}, true), false);  // whoever looks next forgets what had the label
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    // In the scope in which it is deleted: no other program can add it to a filter in between.
    refuseInUse(*profiles::createManager(project.metadata()), found);
    const folder_host::LabelSources sources(project.labels());
    const LabelCounts had = countsOf(sources)[sources.find(found.uuid).value()];
    project.labels().erase(found.uuid);
    return std::pair(std::move(found), had);
  });
  Json object = jsonOf(label);
  object.update(jsonOf(counts));
  object["edit"] = project.lastEdit();
  done(fmt::format("Deleted label {}{}, with {}. To have it back: {}", inQuotes(nameOf(label)), uuidBehind(label.uuid),
                   textOf(counts), commandOf({"undo", std::to_string(project.lastEdit())})),
       object);
}

void protectLabel(const std::string& word, bool isProtected) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    project.labels().setProtected(found.uuid, isProtected);
    found.isProtected = isProtected;
    return found;
  });
  done(fmt::format("Filters may {} remove label {}.", isProtected ? "not" : "now", inQuotes(nameOf(label))),
       jsonOf(label));
}

}  // namespace project_share
