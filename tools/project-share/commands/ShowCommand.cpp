#include <fmt/format.h>

#include <filesystem>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/labels/LabelSources.h"
#include "judgement/SelectionProbe.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/StoredFilters.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::LabelSources;
using profiles::ExportFilter;
using profiles::ExportProfile;

namespace {

// What nobody has labelled stays at home under keep-files, unless a label comes to it by itself: from one of these
// folders, or by one of these rules.
struct ComingIn {
  std::vector<std::string> folders, rules;
};

ComingIn comingIn(const FolderProject& project, const ExportFilter& filter, const LabelSources& sources) {
  ComingIn all;
  for (const auto& item : filter.getItems()) {
    const auto label = sources.find(item.labelUUID);
    for (const auto& [place, kind] : sources.marks()) {
      const auto status = std::filesystem::symlink_status(folder_host::joined(project.root(), place.first));
      const bool isReach = place.second == label && kind == folder_host::MarkKind::reach;
      if (isReach && std::filesystem::is_directory(status)) all.folders.push_back(place.first);
    }
    for (const auto& rule : sources.rules()) {
      if (rule.label == label && !folder_host::isNegated(rule.pattern)) all.rules.push_back(rule.pattern);
    }
  }
  return all;
}

// The position of the first filter by which an entry without a label is held back; 0 where there is none. The filters
// themselves are asked, about an entry made up for the question.
std::size_t holdingBackUnlabelled(const ExportProfile& profile) {
  std::size_t position = 0;
  for (const auto& filter : profile.getFilters()) {
    ++position;
    if (isFileKind(filter->getType()) && selectedBy(*filter, 1, [](std::size_t) { return Labels(); }).front())
      return position;
  }
  return 0;
}

Json jsonOfFilter(const ExportFilter& filter, std::size_t position, const LabelIndex& labels, const ComingIn& coming) {
  Json object{{"filter", position}, {"kind", wordOf(filter.getType())}, {"meaning", kindOf(filter.getType()).meaning}};
  object["labels"] = Json::array();
  for (const auto& item : filter.getItems()) {
    const auto* label = labels.find(item);
    // A deleted label has no name any more, and is shown all the same: the filter names it, and a share is refused
    // for it.
    object["labels"].push_back(label != nullptr ? jsonOf(*label)
                                                : Json{{"uuid", utf8(item.labelUUID)}, {"deleted", true}});
  }
  if (!keepsFiles(filter.getType())) return object;
  object["comingIn"] = Json::array();
  for (const std::string& folder : coming.folders) {
    object["comingIn"].push_back(Json::object());
    putPath(object["comingIn"].back(), "path", folder);
  }
  for (const std::string& rule : coming.rules) object["comingIn"].push_back({{"rule", utf8(rule)}});
  return object;
}

void printFilter(const ExportFilter& filter, std::size_t position, const LabelIndex& labels, const ComingIn& coming) {
  const FilterKind kind = kindOf(filter.getType());
  line(fmt::format("  {}. {}: {}", position, kind.word, kind.meaning));
  const auto named = labels.namedBy(filter);
  for (const NamedLabel& label : named) line("     " + textOf(label));
  if (named.empty()) line("     (no label)");
  for (const std::string& folder : coming.folders) {
    line(fmt::format("     whatever comes into {} is shared", inQuotes(folder.empty() ? "./" : folder + "/")));
  }
  for (const std::string& rule : coming.rules) {
    line(fmt::format("     whatever comes that {} matches is shared", inQuotes(rule)));
  }
}

// What this version does not know may hold back, too: that nothing does is said only where all is known.
std::string textOfUnlabelled(const ExportFilter* holding, std::size_t position, bool isAllKnown) {
  if (holding != nullptr) {
    return fmt::format("An entry without a label is held back (filter {}, {}).", position, wordOf(holding->getType()));
  }
  return isAllKnown ? "An entry without a label is shared."
                    : "No filter that this version knows holds back an entry without a label.";
}

Json jsonOfUnlabelled(const ExportFilter* holding, std::size_t position, bool isAllKnown) {
  if (holding == nullptr) return {{"shared", isAllKnown ? Json(true) : Json()}};
  return {{"shared", false}, {"filter", position}, {"kind", wordOf(holding->getType())}};
}

}  // namespace

void showProfile(const std::string& word) {
  const FolderProject project = openProject();
  // In one scope, so that no filter is told with labels that it had before or has after.
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const LabelIndex labels(project.labels().list());
  const LabelSources sources(project.labels());
  const auto filters = profile->getFilters();
  const auto skipped = skippedIn(*profile, *project.metadata());
  Json object = jsonOf(*profile);
  object["filters"] = Json::array();
  if (!manner().json) line(freeName(nameOf(*profile)) + uuidBehind(profile->getUUID()));
  std::size_t position = 0;
  for (const auto& filter : filters) {
    const ComingIn coming = keepsFiles(filter->getType()) ? comingIn(project, *filter, sources) : ComingIn();
    object["filters"].push_back(jsonOfFilter(*filter, ++position, labels, coming));
    if (!manner().json) printFilter(*filter, position, labels, coming);
  }
  object["skipped"] = Json::array();
  for (const std::string& what : skipped) object["skipped"].push_back(utf8(what));
  const std::size_t holding = holdingBackUnlabelled(*profile);
  const ExportFilter* const filter = holding > 0 ? filters[holding - 1].get() : nullptr;
  object["unlabelled"] = jsonOfUnlabelled(filter, holding, skipped.empty());
  if (manner().json) return item({}, object);
  if (filters.empty()) line("  no filter that holds anything back");
  for (const std::string& what : skipped) line(fmt::format("  not applied, and a share is refused for it: {}", what));
  line(textOfUnlabelled(filter, holding, skipped.empty()));
  if (filters.empty()) return;
  // No filter tells this part: it is done when all of them have had their turns.
  line("A folder that is selected is shared all the same when a file below it is. Links to what is held back, and");
  line("folders of which nothing is shared, are held back.");
}

}  // namespace project_share
