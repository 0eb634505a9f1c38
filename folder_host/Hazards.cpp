#include "folder_host/Hazards.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "folder_host/EntryTable.h"
#include "folder_host/Failure.h"
#include "folder_host/FoldedName.h"

namespace folder_host {

namespace {

using Entries = std::vector<const Entry*>;

std::string_view folderOf(const std::string& path) {
  const std::size_t separator = path.rfind('/');
  return separator == std::string::npos ? std::string_view() : std::string_view(path).substr(0, separator);
}

std::string_view nameOf(const std::string& path) {
  return std::string_view(path).substr(path.rfind('/') + 1);  // npos + 1 is 0
}

// A link may lead to a project as well as a folder may be one; a plain file of that name is a file.
void addNestedProjects(const Entries& left, std::vector<Hazard>& hazards) {
  for (const Entry* entry : left) {
    if (entry->kind == EntryKind::file || nameOf(entry->path) != STORE_FOLDER) continue;
    hazards.push_back({errors::NESTED_PROJECT, entry->path,
                       inQuotes(folderOf(entry->path)) + " is a project of its own, with rules and names that would "
                                                         "leave; move it, or drop it by a label"});
  }
}

void addTwins(const Entries& left, const Entries& gone, std::vector<Hazard>& hazards) {
  Entries files;
  const auto isFile = [](const Entry* entry) { return entry->kind == EntryKind::file; };
  std::copy_if(left.begin(), left.end(), std::back_inserter(files), isFile);
  const auto before = [](const Entry* a, const Entry* b) { return a->id < b->id; };
  std::sort(files.begin(), files.end(), before);
  for (const Entry* entry : gone) {
    const auto twin = std::lower_bound(files.begin(), files.end(), entry, before);
    if (!isFile(entry) || twin == files.end() || !((*twin)->id == entry->id)) continue;
    hazards.push_back({errors::CONTENT_UNDER_TWO_NAMES, entry->path,
                       inQuotes(entry->path) + " goes and is the same file as " + inQuotes((*twin)->path) +
                           ", which stays; label both, or make one a copy"});
  }
}

// Name by name: what is no UTF-8 in one leaves the others to be folded.
std::string foldedPath(std::string_view path) {
  std::string folded;
  while (true) {
    const std::size_t end = path.find('/');
    folded += foldedName(path.substr(0, end));
    if (end == std::string_view::npos) return folded;
    folded += '/';
    path.remove_prefix(end + 1);
  }
}

// Below folders that collide, names that differ are not named again.
void addCollisions(const Entries& left, std::vector<Hazard>& hazards) {
  const Entry store{STORE_FOLDER, EntryKind::folder, {}};  // the copy has one too
  std::vector<std::pair<std::string, const Entry*>> folded{{store.path, &store}};
  folded.reserve(left.size() + 1);
  for (const Entry* entry : left) folded.emplace_back(foldedPath(entry->path), entry);
  std::sort(folded.begin(), folded.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second->path) < std::tie(b.first, b.second->path);
  });
  for (std::size_t i = 1; i < folded.size(); ++i) {
    const std::string& one = folded[i - 1].second->path;
    const std::string& other = folded[i].second->path;
    if (folded[i - 1].first != folded[i].first || folderOf(one) != folderOf(other)) continue;
    hazards.push_back({errors::NAMES_COLLIDE, one,
                       inQuotes(one) + " and " + inQuotes(other) +
                           " become one where upper and lower case are the same; rename one"});
  }
}

// What the folders of a tree come before.
struct TreeOrder {
  bool operator()(const std::string& a, const std::string& b) const { return beforeInTree(a, b); }
};

// The names of the labels, with commas between, by path.
std::map<std::string, std::string, TreeOrder> labelsOnGonePaths(WorkingCopy& copy) {
  std::map<std::string, std::string, TreeOrder> gone;
  const LabelStore& labels = copy.getLabelManager();
  for (const LabelRecord& label : labels.list()) {
    for (const std::string& path : labels.pathsOf(label.uuid)) {
      if (copy.table().find(path)) continue;
      std::string& names = gone[path];
      names += (names.empty() ? "" : ", ") + inQuotes(label.categoryName + u"/" + label.name);
    }
  }
  return gone;
}

}  // namespace

// A folder that is gone stands for what was below it.
std::vector<Hazard> danglingLabels(WorkingCopy& copy) {
  std::vector<Hazard> hazards;
  std::string folder;
  for (const auto& [path, labels] : labelsOnGonePaths(copy)) {
    if (!folder.empty() && path.compare(0, folder.size(), folder) == 0) continue;
    folder = path + "/";
    hazards.push_back({errors::LABEL_ON_GONE_PATH, path,
                       inQuotes(path) + " is gone but labelled " + labels +
                           "; where it was renamed or moved, label what it is now, and detach the label from " +
                           inQuotes(path)});
  }
  return hazards;
}

std::vector<Hazard> hazardsAmongLeft(const WorkingCopy& copy) {
  std::vector<Hazard> hazards;
  const Entries left = copy.entries();
  addNestedProjects(left, hazards);
  addTwins(left, copy.gone(), hazards);
  addCollisions(left, hazards);
  return hazards;
}

}  // namespace folder_host
