#include "Assessment.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "Lookup.h"
#include "PreviewReport.h"
#include "Refusal.h"
#include "StoredFilters.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::WorkingCopy;
using profiles::ExportProfile;

namespace {

void append(std::vector<Hazard>& hazards, std::vector<Hazard> more) {
  std::move(more.begin(), more.end(), std::back_inserter(hazards));
}

// A filter selects nothing by a label that is gone.
std::vector<Hazard> goneLabels(const ExportProfile& profile, const std::vector<LabelRecord>& labels) {
  std::set<std::pair<std::u16string, std::u16string>> known;
  for (const LabelRecord& label : labels) known.emplace(label.categoryUUID, label.uuid);
  std::vector<Hazard> hazards;
  for (const auto& filter : profile.getFilters()) {
    for (const auto& item : filter->getItems()) {
      if (known.count({item.category, item.labelUUID}) != 0) continue;
      hazards.push_back({refusals::LABEL_GONE,
                         {},
                         fmt::format("the {} filter names the label {}, which is gone; take it out of the filter",
                                     wordOf(filter->getType()), inQuotes(item.labelUUID))});
    }
  }
  return hazards;
}

std::vector<Hazard> skippedFilters(const ExportProfile& profile, project::metadata::MetadataManager& metadata) {
  std::vector<Hazard> hazards;
  for (const std::string& what : skippedIn(profile, metadata)) {
    hazards.push_back(
        {refusals::FILTER_SKIPPED, {}, fmt::format("the profile holds {}, which does nothing here", what)});
  }
  return hazards;
}

// What was added to a labelled folder later has no label, and would leave with the folder's name. Told of the topmost
// folder for each such file.
std::vector<Hazard> sparedFolders(const Preview& preview) {
  std::vector<Hazard> hazards;
  std::set<const folder_host::Entry*> told;
  for (const Spared& spared : preview.spared) {
    if (spared.unlabelled == nullptr || !told.insert(spared.unlabelled).second) continue;
    hazards.push_back({refusals::FOLDER_SPARED, spared.folder->path,
                       fmt::format("{} carries {}, and stays all the same, because {} in it has no label; label that "
                                   "too, or take the label off the folder",
                                   inQuotes(spared.folder->path), namesOf(preview, spared.labels),
                                   inQuotes(spared.unlabelled->path))});
  }
  return hazards;
}

std::vector<Hazard> idleFilters(const Preview& preview) {
  std::vector<Hazard> idle;
  for (std::size_t i = 0; i < preview.filters.size(); ++i) {
    if (preview.filters[i].matches) continue;
    idle.push_back({refusals::FILTER_IDLE, {}, nameOfFilter(preview, i + 1) + ", takes nothing out"});
  }
  if (preview.filters.empty())
    idle.push_back({refusals::FILTER_IDLE, {}, "the profile has no filter: everything leaves"});
  return idle;
}

// Labels of the filter that hold nothing back, beside others that do.
std::vector<Hazard> idleLabels(const profiles::ExportFilter& filter, const folder_host::LabelStore& store) {
  std::set<std::pair<std::u16string, std::u16string>> named;
  for (const auto& item : filter.getItems()) named.emplace(item.category, item.labelUUID);
  std::vector<Hazard> idle;
  for (const LabelRecord& label : store.list()) {
    if (named.count({label.categoryUUID, label.uuid}) == 0 || !store.pathsOf(label.uuid).empty()) continue;
    idle.push_back({refusals::LABEL_IDLE,
                    {},
                    fmt::format("the {} filter names {}, which hangs on nothing", wordOf(filter.getType()),
                                inQuotes(nameOf(label)))});
  }
  return idle.size() < named.size() ? idle : std::vector<Hazard>();
}

std::vector<Hazard> idleLabels(const ExportProfile& profile, const folder_host::LabelStore& store) {
  std::vector<Hazard> idle;
  for (const auto& filter : profile.getFilters()) {
    if (filter->getType() == profiles::EXCLUDE_FILES_WITH_LABEL) append(idle, idleLabels(*filter, store));
  }
  return idle;
}

}  // namespace

Assessment assess(const WorkingCopy& copy, const ExportProfile& profile) {
  const auto clone = copy.clone();
  Assessment assessment{nameOf(profile), profile.getUUID(), {}, {}, {}};
  append(assessment.hazards, goneLabels(profile, clone->getLabelManager().list()));
  append(assessment.hazards, skippedFilters(profile, *clone->getMetadataManager()));
  append(assessment.hazards, danglingLabels(*clone));
  assessment.idle = idleLabels(profile, clone->getLabelManager());
  assessment.preview = previewOf(profile.getFilters(), *clone);
  append(assessment.hazards, sparedFolders(assessment.preview));
  append(assessment.hazards, hazardsAmongLeft(*clone));
  append(assessment.idle, idleFilters(assessment.preview));
  return assessment;
}

Assessment assessWhole(const WorkingCopy& copy) {
  const auto clone = copy.clone();
  Assessment assessment{{}, profiles::getWholeProjectUUID(), previewOf({}, *clone), {}, {}};
  assessment.hazards = hazardsAmongLeft(*clone);
  return assessment;
}

const std::vector<std::string>& allowableHazards() {
  static const std::vector<std::string> all{
      refusals::LABEL_GONE,
      refusals::FILTER_SKIPPED,
      refusals::FOLDER_SPARED,
      folder_host::errors::LABEL_ON_GONE_PATH,
      folder_host::errors::CONTENT_UNDER_TWO_NAMES,
      folder_host::errors::NAMES_COLLIDE,
      folder_host::errors::NESTED_PROJECT,
      folder_host::errors::ENTRY_CHANGED,
  };
  return all;
}

std::vector<Hazard> refusedAmong(const std::vector<Hazard>& hazards, const std::set<std::string>& allowed) {
  std::vector<Hazard> refused;
  std::copy_if(hazards.begin(), hazards.end(), std::back_inserter(refused),
               [&](const Hazard& hazard) { return allowed.count(hazard.identifier) == 0; });
  return refused;
}

std::string allowingFlags(const std::vector<Hazard>& hazards) {
  std::set<std::string> identifiers;
  for (const Hazard& hazard : hazards) identifiers.insert(hazard.identifier);
  std::string flags;
  for (const std::string& identifier : identifiers) flags += (flags.empty() ? "" : " ") + ("--allow " + identifier);
  return flags;
}

}  // namespace project_share
