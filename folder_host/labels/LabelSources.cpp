#include "folder_host/labels/LabelSources.h"

#include <algorithm>
#include <map>

#include "folder_host/files/Path.h"

namespace folder_host {

namespace {

std::vector<LabelRecord> byUUID(std::vector<LabelRecord> records) {
  std::sort(records.begin(), records.end(), [](const auto& a, const auto& b) { return a.uuid < b.uuid; });
  return records;
}

std::size_t indexOf(const std::vector<LabelRecord>& labels, const std::u16string& uuid) {
  const auto found = std::lower_bound(labels.begin(), labels.end(), uuid,
                                      [](const LabelRecord& label, const auto& text) { return label.uuid < text; });
  return static_cast<std::size_t>(found - labels.begin());
}

std::vector<LabelSources::Rule> rulesOf(const LabelStore& store, const std::vector<LabelRecord>& labels) {
  std::vector<LabelSources::Rule> rules;
  for (Rule& rule : store.rules()) rules.push_back({indexOf(labels, rule.label), std::move(rule.pattern)});
  return rules;
}

PatternTable tableOf(const std::vector<LabelSources::Rule>& rules) {
  std::vector<PatternTable::Pattern> patterns;
  patterns.reserve(rules.size());
  for (const LabelSources::Rule& rule : rules) patterns.push_back({rule.label, rule.pattern});
  return PatternTable(patterns);
}

}  // namespace

LabelSources::LabelSources(const LabelStore& labels)
    : labels_(byUUID(labels.list())), rules_(rulesOf(labels, labels_)), patterns_(tableOf(rules_)) {
  for (Mark& mark : labels.marks()) {
    marks_.emplace_hint(marks_.end(), std::pair(std::move(mark.path), indexOf(labels_, mark.label)), mark.kind);
  }
}

std::optional<std::size_t> LabelSources::find(const std::u16string& uuid) const {
  const std::size_t index = indexOf(labels_, uuid);
  return index < labels_.size() && labels_[index].uuid == uuid ? std::optional(index) : std::nullopt;
}

LabelSet LabelSources::setOf(const std::vector<std::u16string>& uuids) const {
  LabelSet set;
  for (const std::u16string& uuid : uuids) {
    if (const auto label = find(uuid)) set.push_back(*label);
  }
  std::sort(set.begin(), set.end());
  return set;
}

std::optional<MarkKind> LabelSources::markOn(const std::string& path, std::size_t label) const {
  const auto found = marks_.find({path, label});
  return found != marks_.end() ? std::optional(found->second) : std::nullopt;
}

LabelSource LabelSources::sourceOf(const std::string& path, bool isFolder, std::size_t label) const {
  for (std::string at = path;; at = parentOf(at)) {
    const auto mark = markOn(at, label);
    if (mark == MarkKind::exception) return {LabelSource::Kind::exception, at, {}};
    if (mark == MarkKind::reach || (mark && at == path)) return {LabelSource::Kind::mark, at, {}};
    if (at.empty()) return ruleFor(path, isFolder, label);
  }
}

LabelSet LabelSources::labelsOf(const std::string& path, bool isFolder) const {
  std::map<std::size_t, bool> gives;  // by label, what comes first
  for (std::string at = path;; at = parentOf(at)) {
    for (auto mark = marks_.lower_bound({at, 0}); mark != marks_.end() && mark->first.first == at; ++mark) {
      if (mark->second != MarkKind::entry || at == path) {
        gives.emplace(mark->first.second, mark->second != MarkKind::exception);
      }
    }
    if (at.empty()) break;
  }
  std::vector<std::size_t> deciding;
  for (std::string at = path; !at.empty() && !rules_.empty(); at = parentOf(at), isFolder = true) {
    patterns_.match(at, isFolder, deciding);
    for (const std::size_t rule : deciding) gives.emplace(rules_[rule].label, !isNegated(rules_[rule].pattern));
  }
  LabelSet labels;
  for (const auto& [label, isGiven] : gives) {
    if (isGiven) labels.push_back(label);
  }
  return labels;
}

LabelSource LabelSources::ruleFor(const std::string& path, bool isFolder, std::size_t label) const {
  std::vector<std::size_t> deciding;
  for (std::string at = path; !at.empty(); at = parentOf(at), isFolder = true) {
    patterns_.match(at, isFolder, deciding);
    const auto found =
        std::find_if(deciding.begin(), deciding.end(), [&](std::size_t rule) { return rules_[rule].label == label; });
    if (found == deciding.end()) continue;
    const std::string& pattern = rules_[*found].pattern;
    return {isNegated(pattern) ? LabelSource::Kind::negatedRule : LabelSource::Kind::rule, at, pattern};
  }
  return {};
}

// Asked without all of them, because an exception may lie below another. At a missing path a folder may have stood, or
// a file.
std::vector<std::string> exceptionsMadeIdle(LabelSources before, LabelSources after, std::size_t label) {
  std::vector<std::string> exceptions, idle;
  for (const auto& [place, kind] : after.marks()) {
    if (kind == MarkKind::exception && place.second == label && before.markOn(place.first, label) == kind) {
      exceptions.push_back(place.first);
    }
  }
  for (LabelSources* sources : {&before, &after}) {
    for (const std::string& path : exceptions) sources->remove(path, label);
  }
  const auto gives = [&](const LabelSources& sources, const std::string& path) {
    return sources.sourceOf(path, true, label).gives() || sources.sourceOf(path, false, label).gives();
  };
  for (std::string& path : exceptions) {
    if (gives(before, path) && !gives(after, path)) idle.push_back(std::move(path));
  }
  return idle;
}

}  // namespace folder_host
