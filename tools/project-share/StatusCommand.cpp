#include <fmt/format.h>

#include <algorithm>

#include "Assessment.h"
#include "Commands.h"
#include "Lookup.h"
#include "OpenProject.h"
#include "Output.h"
#include "PreviewReport.h"
#include "folder_host/Error.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::WorkingCopy;

namespace {

Entries unlabelledIn(WorkingCopy& copy) {
  const std::vector<bool> labelled = copy.labelled();
  Entries unlabelled;
  for (std::size_t i = 0; i < labelled.size(); ++i) {
    if (!labelled[i]) unlabelled.push_back(&copy.listing().entries[i]);
  }
  return unlabelled;
}

void printUnlabelled(const Entries& unlabelled) {
  constexpr std::size_t MOST = 20;
  const std::size_t shownOnes = manner().json ? unlabelled.size() : std::min(unlabelled.size(), MOST);
  for (std::size_t i = 0; i < shownOnes; ++i) {
    Json object{{"type", "unlabelled"}};
    object.update(jsonOf(*unlabelled[i]));
    item("unlabelled  " + freeName(nameOf(*unlabelled[i])), object);
  }
  if (shownOnes < unlabelled.size()) {
    line(fmt::format("unlabelled: {} more; --json lists all", unlabelled.size() - shownOnes));
  }
}

// What concerns this profile, apart from what concerns the whole project.
void printProfile(const WorkingCopy& copy, const profiles::ExportProfile& profile) {
  const Assessment assessment = assess(copy, profile);
  const std::string prefix = fmt::format("profile {}: ", freeName(assessment.name));
  const Json more{{"profile", jsonOf(profile)}};
  printNotes(assessment.idle, prefix, more);
  printHazards(refusedAmong(assessment.hazards, {folder_host::errors::LABEL_ON_GONE_PATH}), prefix, more);
}

}  // namespace

void showStatus() {
  const auto copy = openProject().workingCopy();  // store and folder at one moment
  const folder_host::LabelStore& labels = copy->getLabelManager();
  const auto listed = profilesByName(*managerOf(*copy));
  const std::vector<LabelRecord> records = labels.list();
  const auto unlabelled = unlabelledIn(*copy);

  for (const LabelRecord& label : records) printLabel(label, labels.pathsOf(label.uuid).size());
  printUnlabelled(unlabelled);
  printSkipped(copy->listing());
  printHazards(danglingLabels(*copy));
  for (const auto& profile : listed) printProfile(*copy, *profile);
  const std::size_t entries = copy->listing().entries.size();
  item(fmt::format("{}: {}, {} without a label; {}; {}.", freeName(copy->root()), counted(entries, "entry", "entries"),
                   unlabelled.size(), counted(records.size(), "label", "labels"),
                   counted(listed.size(), "profile", "profiles")),
       {{"type", "summary"},
        {"entries", entries},
        {"unlabelled", unlabelled.size()},
        {"labels", records.size()},
        {"profiles", listed.size()}});
}

}  // namespace project_share
