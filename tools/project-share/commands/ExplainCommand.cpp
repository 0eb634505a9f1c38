#include <fmt/format.h>

#include <string>
#include <vector>

#include "commands/Commands.h"
#include "judgement/SelectionProbe.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::FolderProject;
using profiles::ExportFilter;
using profiles::ExportStrategyItem;
using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

namespace {

const char* meaningOf(const std::u16string& kind) {
  if (kind == profiles::EXCLUDE_FILES_WITH_LABEL) return "files and folders go that carry any of these labels:";
  if (kind == profiles::INCLUDE_FILES_WITH_LABEL) {
    return "files and folders go that carry no label, or any label but these:";
  }
  if (kind == profiles::EXCLUDE_LABEL) return "these labels go, unless they are kept:";
  return "all labels go but these and kept ones:";
}

struct Case {
  const char* title;
  std::string answer;
};

FileLabel labelLike(const ExportStrategyItem& item, bool kept = false) {
  return {CategoryIdentifier(item.category), LabelIdentifier(item.labelUUID, kept ? 0 : 1)};
}

// A label that the filter does not name.
FileLabel otherLabel(bool kept = false) { return labelLike({u"other", u"other"}, kept); }

std::vector<Case> fileCases(ExportFilter& filter, const std::vector<ExportStrategyItem>& items) {
  std::vector<const char*> titles{"no label", "another label"};
  std::vector<Labels> rows{{}, {otherLabel()}};
  if (!items.empty()) {
    titles.insert(titles.end(), {"a label named here", "a label named here, and another"});
    rows.insert(rows.end(), {{labelLike(items.front())}, {labelLike(items.front()), otherLabel()}});
  }
  const std::vector<bool> selected = selectedBy(filter, rows.size(), [&](std::size_t i) { return rows[i]; });
  std::vector<Case> cases;
  for (std::size_t i = 0; i < rows.size(); ++i) cases.push_back({titles[i], selected[i] ? "goes" : "stays"});
  return cases;
}

std::vector<Case> labelCases(ExportFilter& filter, const std::vector<ExportStrategyItem>& items) {
  const auto answer = [&](const FileLabel& label) { return takesAwayAny(filter, {label}) ? "goes" : "stays"; };
  std::vector<Case> cases{{"another label", answer(otherLabel())}, {"another label, kept", answer(otherLabel(true))}};
  if (items.empty()) return cases;
  cases.push_back({"a label named here", answer(labelLike(items.front()))});
  cases.push_back({"a label named here, kept", answer(labelLike(items.front(), true))});
  return cases;
}

void printFilter(ExportFilter& filter, std::size_t position, const std::vector<folder_host::LabelRecord>& labels) {
  const std::u16string kind = filter.getType();
  const auto items = filter.getItems();
  const auto cases = isFileKind(kind) ? fileCases(filter, items) : labelCases(filter, items);
  Json object{{"filter", position}, {"kind", wordOf(kind)}, {"meaning", meaningOf(kind)}, {"labels", Json::array()}};
  std::vector<std::string> lines{fmt::format("  {}. {}: {}", position, wordOf(kind), meaningOf(kind))};
  for (const NamedLabel& label : namedBy(filter, labels)) {
    object["labels"].push_back(utf8(label.name) + (label.isDeleted ? " (gone)" : ""));
    lines.push_back("       " + textOf(label));
  }
  if (items.empty()) lines.emplace_back("       (none)");
  lines.emplace_back(isFileKind(kind) ? "     an entry with" : "     of the project's labels,");
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
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const auto labels = project.labels().list();
  const auto filters = profile->getFilters();
  const char* begin = filters.empty() ? "has no filter: everything leaves."
                                      : "hands out everything but what its filters take out, one after the other:";
  if (!manner().json) line(fmt::format("Profile {} {}", inQuotes(nameOf(*profile)), begin));
  std::size_t position = 0;
  for (const auto& filter : filters) printFilter(*filter, ++position, labels);
  if (manner().json || filters.empty()) return;
  line("A folder that would go stays when a file below it stays. Then go links to what is not handed out, and folders");
  line("in which nothing is left.");
}

}  // namespace project_share
