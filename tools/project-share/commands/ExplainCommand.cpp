#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "judgement/SelectionProbe.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::FolderProject;
using profiles::ExportFilter;
using profiles::ExportStrategyItem;
using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

namespace {

struct Case {
  const char* title;
  const char* answer;
};

FileLabel labelLike(const ExportStrategyItem& item, bool isProtected = false) {
  return {CategoryIdentifier(item.category), LabelIdentifier(item.labelUUID, isProtected ? 0 : 1)};
}

// A label that the filter does not name.
FileLabel otherLabel(bool isProtected = false) { return labelLike({u"other", u"other"}, isProtected); }

// The filter itself is asked, about entries made up for the question: a sentence that was written beside the rule would
// one day tell of another rule.
std::vector<Case> fileCases(ExportFilter& filter, const std::vector<ExportStrategyItem>& items) {
  std::vector<std::pair<const char*, Labels>> rows{{"no label", {}}, {"another label", {otherLabel()}}};
  if (!items.empty()) {
    const FileLabel named = labelLike(items.front());
    rows.insert(rows.end(),
                {{"a label named here", {named}}, {"a label named here, and another", {named, otherLabel()}}});
  }
  const std::vector<bool> selected = selectedBy(filter, rows.size(), [&](std::size_t i) { return rows[i].second; });
  std::vector<Case> cases;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    cases.push_back({rows[i].first, selected[i] ? "held back" : "shared"});
  }
  return cases;
}

// A protected label is a case of its own: no filter may remove it, even one that names it.
std::vector<Case> labelCases(ExportFilter& filter, const std::vector<ExportStrategyItem>& items) {
  const auto answer = [&](const FileLabel& label) { return takesAwayAny(filter, {label}) ? "removed" : "leaves"; };
  std::vector<Case> cases{{"another label", answer(otherLabel())},
                          {"another label, protected", answer(otherLabel(true))}};
  if (items.empty()) return cases;
  cases.push_back({"a label named here", answer(labelLike(items.front()))});
  cases.push_back({"a label named here, protected", answer(labelLike(items.front(), true))});
  return cases;
}

void printFilter(ExportFilter& filter, std::size_t position, const LabelIndex& labels) {
  const FilterKind kind = kindOf(filter.getType());
  const auto items = filter.getItems();
  const auto cases = kind.isOfFiles ? fileCases(filter, items) : labelCases(filter, items);
  Json object{{"filter", position}, {"kind", kind.word}, {"meaning", kind.meaning}, {"labels", Json::array()}};
  std::vector<std::string> lines{fmt::format("  {}. {}: {}", position, kind.word, kind.meaning)};
  for (const NamedLabel& label : labels.namedBy(filter)) {
    object["labels"].push_back(utf8(label.name) + (label.isDeleted ? " (deleted)" : ""));
    lines.push_back("       " + textOf(label));
  }
  if (items.empty()) lines.emplace_back("       (none)");
  lines.emplace_back(kind.isOfFiles ? "     an entry with" : "     of the project's labels,");
  for (const Case& one : cases) {
    object["cases"][one.title] = one.answer;
    lines.push_back(fmt::format("       {:32} {}", one.title, one.answer));
  }
  if (manner().json) return item({}, object);
  for (const std::string& text : lines) line(text);
}

}  // namespace

void explainProfile(const std::string& word) {
  const FolderProject project = openProject();
  // What is told is the state of one moment: another program may be changing the profile.
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const LabelIndex labels(project.labels().list());
  const auto filters = profile->getFilters();
  const char* begin = filters.empty() ? "has no filter: everything is shared."
                                      : "shares everything but what its filters hold back, one after the other:";
  if (!manner().json) line(fmt::format("Profile {} {}", inQuotes(nameOf(*profile)), begin));
  std::size_t position = 0;
  for (const auto& filter : filters) printFilter(*filter, ++position, labels);
  if (manner().json || filters.empty()) return;
  // No filter tells this part: it is done when all of them have had their turns, so no case above can show it.
  line("A folder that is selected is shared all the same when a file below it is. Links to what is held back, and");
  line("folders of which nothing is shared, are held back.");
}

}  // namespace project_share
