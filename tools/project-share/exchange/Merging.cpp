#include "exchange/Merging.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "folder_host/text/Patterns.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"

namespace project_share {

using folder_host::LabelRecord;

namespace {

using Rules = std::vector<std::string>;

Rules lacking(Rules rules, const Rules& taken) {
  const auto isTaken = [&](const auto& one) { return std::find(taken.begin(), taken.end(), one) != taken.end(); };
  rules.erase(std::remove_if(rules.begin(), rules.end(), isTaken), rules.end());
  return rules;
}

// Whether all of the few stand among the many, in the same order.
bool holdsInOrder(const Rules& many, const Rules& few) {
  auto at = many.begin();
  return std::all_of(few.begin(), few.end(), [&](const std::string& one) {
    at = std::find(at, many.end(), one);
    return at != many.end() && (++at, true);
  });
}

// Of rules that match a path, the last one decides. Whichever list stood behind the other could give out by its "!x"
// what the other one holds back, or under a keep-files filter by its "x" what the other keeps in: so no order is made
// up.
Rules mergedRules(const LabelRecord& label, const Rules& own, const Rules& file) {
  const Rules beyond = lacking(own, file);
  if (beyond.empty()) return file;
  if (holdsInOrder(own, file)) return own;
  Rules all = file;
  all.insert(all.end(), beyond.begin(), beyond.end());
  const auto negated = std::find_if(all.begin(), all.end(), folder_host::isNegated);
  if (negated == all.end()) return all;
  throw Refusal(refusals::IMPORT_CONFLICT,
                fmt::format("the project's rule {} of {} is not in the file, and as there is the rule {}, its place "
                            "among the file's decides; remove it, put it into the file, or import --replace",
                            inQuotes(beyond.front()), inQuotes(nameOf(label)), inQuotes(*negated)));
}

ProjectState added(ProjectState project, const ProjectState& file) {
  for (const auto& [uuid, name] : file.categories) project.categories[uuid] = name;
  for (const auto& [uuid, label] : file.labels) {
    const auto [place, isNew] = project.labels.emplace(uuid, label);
    if (isNew) continue;
    LabelState& own = place->second;
    if (own.category != label.category) {
      throw Refusal(refusals::IMPORT_CONFLICT,
                    fmt::format("{} is in another category in the project, and filters name labels with their "
                                "category; import --replace takes what the file has",
                                inQuotes(nameOf(recordOf(file, uuid)))));
    }
    own.name = label.name;
    own.isProtected = label.isProtected;
    own.rules = mergedRules(recordOf(file, uuid), own.rules, label.rules);
    for (const auto& [path, kind] : label.marks) own.marks[path] = kind;
  }
  for (const auto& [path, values] : file.nodes) {
    for (const auto& [key, value] : values) project.nodes[path][key] = value;
    project.nodes[path];
  }
  return project;
}

ProjectState replaced(const ProjectState& project, ProjectState file, const ImportWords& words) {
  if (!words.withoutMarks) return file;
  for (auto& [uuid, label] : file.labels) {
    const auto own = project.labels.find(uuid);
    if (own != project.labels.end()) label.marks = own->second.marks;
  }
  for (const auto& [path, values] : project.nodes) {
    if (!isOfProfiles(path)) file.nodes.emplace(path, values);
  }
  return file;
}

// What is as it was is not complained of, whoever made it.
void checkCategories(const ProjectState& before, const ProjectState& after) {
  Looks looks;
  std::vector<std::u16string> names;
  for (const auto& [uuid, name] : after.categories) {
    const auto own = before.categories.find(uuid);
    own != before.categories.end() && own->second == name ? void(looks.add(name)) : names.push_back(name);
  }
  for (const std::u16string& name : names) {
    const auto other = looks.add(name);
    if (!other) continue;
    throw Refusal(folder_host::errors::LABEL_NAME_TAKEN,
                  fmt::format("there is another category {} beside the file's {}; give it another name in the file, or "
                              "import --replace",
                              inQuotes(*other), inQuotes(name)));
  }
}

void checkLabels(const ProjectState& before, const ProjectState& after) {
  std::vector<LabelRecord> same, changed;
  for (const auto& [uuid, label] : after.labels) {
    const LabelRecord record = recordOf(after, uuid);
    const bool isSame = before.labels.count(uuid) != 0 && nameOf(recordOf(before, uuid)) == nameOf(record);
    (isSame ? same : changed).push_back(record);
  }
  LabelLooks looks(same);
  for (const LabelRecord& label : changed) looks.add(label.categoryName, label.name);
}

// Empty where it is lost.
std::u16string nameIn(const folder_host::MetadataStore::Nodes::mapped_type& profile) {
  const auto name = profile.find(u"Name");
  return name == profile.end() ? std::u16string() : name->second;
}

void checkProfiles(const ProjectState& before, const ProjectState& after) {
  Looks looks;
  std::vector<std::u16string> names;
  for (const auto& [path, values] : after.nodes) {
    if (kindOf(path) != NodeKind::profile) continue;
    const auto own = before.nodes.find(path);
    if (own != before.nodes.end() && nameIn(own->second) == nameIn(values)) {
      looks.add(nameIn(values));
      continue;
    }
    // By this UUID, a share would be of the whole project, and a profile without one could not be named.
    const std::u16string& uuid = path.getLeaf().getLocation();
    if (uuid.empty() || uuid == profiles::getWholeProjectUUID()) {
      throw Refusal(refusals::IMPORT_CONFLICT,
                    fmt::format("a profile of the file has the UUID {}, which no profile can have", inQuotes(uuid)));
    }
    if (values.count(u"Name") == 0) continue;
    if (nameIn(values).empty()) throw Refusal(folder_host::errors::NAME_EMPTY, "a profile of the file has no name");
    names.push_back(nameIn(values));
  }
  for (const std::u16string& name : names) {
    const auto other = looks.add(name);
    if (!other) continue;
    throw Refusal(refusals::PROFILE_NAME_TAKEN,
                  fmt::format("there is another profile {} beside the file's {}; give one of them another name, or "
                              "import --replace",
                              inQuotes(*other), inQuotes(name)));
  }
}

// A filter selects nothing by a label that is deleted. One that was deleted before is told of by every share.
void checkUse(const ProjectState& before, const ProjectState& after) {
  for (const auto& [path, values] : after.nodes) {
    if (kindOf(path) != NodeKind::item) continue;
    const std::u16string& label = path.getLeaf().getLocation();
    if (before.labels.count(label) == 0 || after.labels.count(label) != 0) continue;
    throw Refusal(refusals::LABEL_IN_USE,
                  fmt::format("a profile of the file names {}, which the file does not have: it would be deleted; put "
                              "it into the file, or take it out of the profile there",
                              inQuotes(nameOf(recordOf(before, label)))));
  }
}

}  // namespace

ProjectState considered(ProjectState state, const ImportWords& words) {
  if (!words.withoutMarks) return state;
  for (auto& [uuid, label] : state.labels) label.marks.clear();
  for (auto node = state.nodes.begin(); node != state.nodes.end();) {
    node = isOfProfiles(node->first) ? std::next(node) : state.nodes.erase(node);
  }
  return state;
}

ProjectState merged(const ProjectState& project, const ProjectState& file, const ImportWords& words) {
  const ProjectState taken = considered(file, words);
  ProjectState result = words.replaces ? replaced(project, taken, words) : added(project, taken);
  checkCategories(project, result);
  checkLabels(project, result);
  checkProfiles(project, result);
  checkUse(project, result);
  return result;
}

}  // namespace project_share
