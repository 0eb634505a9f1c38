#include "folder_host/share/Risks.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/files/Path.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/SideNames.h"

namespace folder_host {

namespace {

using Entries = std::vector<const Entry*>;

// By its name alone; a plain file of that name is a file, but a backup or an archive of the folder is more.
// A handed-out project would open with the rules and the names of its sender, and its receiver would share by them.
bool isStoreFolder(const Entry& entry) {
  const std::string_view name = nameOf(entry.path);
  // At the top, such a name meets the copy's own store, which the collisions tell.
  if (foldedName(name) == STORE_FOLDER) return entry.kind != EntryKind::file && entry.path != name;
  const std::vector<Original> originals = originalsOf(name);
  return std::any_of(originals.begin(), originals.end(),
                     [](const Original& original) { return !original.isStem && original.name == STORE_FOLDER; });
}

void addNestedProjects(const Entries& shared, std::vector<Risk>& risks) {
  for (const Entry* entry : shared) {
    if (!isStoreFolder(*entry)) continue;
    risks.push_back({errors::NESTED_PROJECT, entry->path,
                     inQuotes(entry->path) + " is where a project keeps its store, with rules and names that would "
                                             "be shared"});
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
void addCollisions(const Entries& shared, std::vector<Risk>& risks) {
  const Entry store{STORE_FOLDER, EntryKind::folder, {}};  // the copy has one too
  std::vector<std::pair<std::string, const Entry*>> folded{{store.path, &store}};
  folded.reserve(shared.size() + 1);
  for (const Entry* entry : shared) folded.emplace_back(foldedPath(entry->path), entry);
  std::sort(folded.begin(), folded.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second->path) < std::tie(b.first, b.second->path);
  });
  for (std::size_t i = 1; i < folded.size(); ++i) {
    const std::string& one = folded[i - 1].second->path;
    const std::string& other = folded[i].second->path;
    if (folded[i - 1].first != folded[i].first || parentOf(one) != parentOf(other)) continue;
    risks.push_back({errors::NAMES_COLLIDE, one,
                     inQuotes(one) + " and " + inQuotes(other) +
                         " become one where upper and lower case are the same; rename one"});
  }
}

}  // namespace

// Both are judged by what is shared: a nested project that is held back, or one of two colliding names, harms nobody.
std::vector<Risk> risksAmong(const WorkingCopy& copy) {
  std::vector<Risk> risks;
  const Entries shared = copy.entries();
  addNestedProjects(shared, risks);
  addCollisions(shared, risks);
  return risks;
}

}  // namespace folder_host
