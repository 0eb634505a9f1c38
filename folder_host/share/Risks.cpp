#include "folder_host/share/Risks.h"

#include <algorithm>
#include <cstdint>
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

void addNestedProjects(const WorkingCopy& copy, std::vector<Risk>& risks) {
  for (std::size_t i = 0; i < copy.table().size(); ++i) {
    const Entry& entry = copy.table()[i];
    if (copy.heldBack()[i] || !isStoreFolder(entry)) continue;
    risks.push_back({errors::NESTED_PROJECT, entry.path,
                     inQuotes(entry.path) + " is where a project keeps its store, with rules and names that would "
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

using Collision = std::pair<const Entry*, const Entry*>;

// Those that are shared in each folder, the project's own first. What lies in a folder stands behind it.
std::vector<Entries> byFolder(const WorkingCopy& copy) {
  const EntryTable& entries = copy.table();
  std::vector<Entries> folders(1);
  std::vector<std::uint32_t> numbers(entries.size());  // of folders; 0 as long as nothing shared is known to lie in it
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (copy.heldBack()[i]) continue;
    const std::size_t parent = entries.parentOf(i);
    std::size_t number = parent == EntryTable::ROOT ? 0 : numbers[parent];
    if (parent != EntryTable::ROOT && number == 0) {
      number = numbers[parent] = static_cast<std::uint32_t>(folders.size());
      folders.emplace_back();
    }
    folders[number].push_back(&entries[i]);
  }
  return folders;
}

void collideIn(const Entries& folder, std::vector<Collision>& collisions) {
  std::vector<std::pair<std::string, const Entry*>> folded;
  folded.reserve(folder.size());
  for (const Entry* entry : folder) folded.emplace_back(foldedName(nameOf(entry->path)), entry);
  const auto before = [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second->path) < std::tie(b.first, b.second->path);
  };
  if (!std::is_sorted(folded.begin(), folded.end(), before)) std::sort(folded.begin(), folded.end(), before);
  for (std::size_t i = 1; i < folded.size(); ++i) {
    if (folded[i - 1].first == folded[i].first) collisions.emplace_back(folded[i - 1].second, folded[i].second);
  }
}

// Below folders that collide, names that differ are not named again: so names meet within one folder alone.
void addCollisions(const WorkingCopy& copy, std::vector<Risk>& risks) {
  const Entry store{STORE_FOLDER, EntryKind::folder, {}};  // the copy has one too
  std::vector<Entries> folders = byFolder(copy);
  folders.front().push_back(&store);
  std::vector<Collision> collisions;
  for (const Entries& folder : folders) collideIn(folder, collisions);
  std::vector<std::pair<std::string, Collision>> ordered;
  ordered.reserve(collisions.size());
  for (const Collision& one : collisions) ordered.emplace_back(foldedPath(one.first->path), one);
  std::sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second.first->path) < std::tie(b.first, b.second.first->path);
  });
  for (const auto& [folded, pair] : ordered) {
    const std::string& one = pair.first->path;
    const std::string& other = pair.second->path;
    risks.push_back({errors::NAMES_COLLIDE, one,
                     inQuotes(one) + " and " + inQuotes(other) +
                         " become one where upper and lower case are the same; rename one"});
  }
}

}  // namespace

// Both are judged by what is shared: a nested project that is held back, or one of two colliding names, harms nobody.
std::vector<Risk> risksAmong(const WorkingCopy& copy) {
  std::vector<Risk> risks;
  addNestedProjects(copy, risks);
  addCollisions(copy, risks);
  return risks;
}

}  // namespace folder_host
