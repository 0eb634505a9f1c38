#include "folder_host/share/Traces.h"

#include <fcntl.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/read/FirstBytes.h"
#include "folder_host/share/read/Source.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/SideNames.h"

namespace folder_host {

namespace {

// A bare repository, whatever its name, of which the objects would leave.
bool holdsRepository(const EntryTable& entries, const Selection& shared, const std::string& folder) {
  const auto holds = [&](const char* name) { return entries.find(joined(folder, name)).has_value(); };
  const auto isShared = [&](const char* name) {
    const auto entry = entries.find(joined(folder, name));
    return entry && shared[*entry];
  };
  return (isShared("objects") && holds("HEAD") && holds("refs")) ||
         (isShared("db") && holds("format") && holds("hooks") && holds("locks"));
}

// Names in their folders, to be looked up: each with the entry that has it.
class NamesInFolders {
 public:
  void add(std::size_t folder, std::string name, std::size_t entry) {
    names_.push_back({{folder, std::move(name)}, entry});
  }
  void sort() { std::sort(names_.begin(), names_.end()); }

  // Those of that name, given by `add`.
  template <class Add>
  void find(std::size_t folder, const std::string& name, const Add& add) const {
    const Place place{folder, name};
    auto found = std::lower_bound(names_.begin(), names_.end(), std::pair(place, std::size_t{0}));
    for (; found != names_.end() && found->first == place; ++found) add(found->second);
  }

 private:
  using Place = std::pair<std::size_t, std::string>;
  std::vector<std::pair<Place, std::size_t>> names_;
};

// What is held back, as its leftovers could name it.
class Originals {
 public:
  Originals(const EntryTable& entries, const Selection& heldBack, const Selection& dropped)
      : entries_(entries), isOriginal_(heldBack), isCopied_(dropped), holders_(entries.size()) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (heldBack[i] && entries[i].kind != EntryKind::folder) hold(entries.parentOf(i));
      for (auto at = entries.parentOf(i); dropped[i] && at != EntryTable::ROOT && !isCopied_[at];
           at = entries.parentOf(at)) {
        isCopied_[at] = true;  // what is made of the folder holds it, too
      }
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!isOriginal_[i] && !isCopied_[i]) continue;
      const std::size_t folder = entries.parentOf(i);
      std::string name = foldedName(nameOf(entries[i].path));
      const std::size_t dot = name.rfind('.');
      if (dot != std::string::npos && dot > 0) stems_.add(folder, name.substr(0, dot), i);
      names_.add(folder, std::move(name), i);
    }
    names_.sort();
    stems_.sort();
  }

  // Whether the entry is a leftover; of what, as far as its name tells.
  bool find(std::size_t leftover, std::vector<std::size_t>& of) const {
    const std::size_t folder = entries_.parentOf(leftover);
    const std::string_view name = nameOf(entries_[leftover].path);
    for (const Original& original : originalsOf(name)) {
      (original.isStem ? stems_ : names_).find(folder, original.name, [&](std::size_t found) {
        if (isCopied_[found] || (isOriginal_[found] && !original.isCopy)) of.push_back(found);
      });
    }
    std::sort(of.begin(), of.end());
    of.erase(std::unique(of.begin(), of.end()), of.end());
    const bool holds = folder == EntryTable::ROOT ? rootHolds_ : holders_[folder];
    return !of.empty() || (holds && isUnnamedLeftover(name));
  }

 private:
  void hold(std::size_t folder) {
    if (folder == EntryTable::ROOT) rootHolds_ = true;
    if (folder != EntryTable::ROOT) holders_[folder] = true;
  }

  const EntryTable& entries_;
  const Selection& isOriginal_;
  Selection isCopied_;  // dropped, or a folder with something that is
  NamesInFolders names_;
  NamesInFolders stems_;  // names without their endings
  Selection holders_;     // folders in which a file is held back
  bool rootHolds_ = false;
};

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// A store is made of pages. A receipt has any size: it is looked for by its name.
bool canBeStore(const Entry& file) {
  constexpr std::uint64_t LEAST_PAGE = 512;
  const std::string name = foldedName(nameOf(file.path));
  return (file.size > 0 && file.size % LEAST_PAGE == 0) || name.find("receipt") != std::string::npos ||
         endsWith(name, ".json") || endsWith(name, ".sql") || endsWith(name, ".dump");
}

// Of what was listed and can be read; else none. No error is lost by that: whatever cannot be read, or is another file
// by now, is refused when it is copied.
std::string firstBytesOf(const Descriptor& root, const Entry& file) {
  try {
    const Descriptor opened = openBeneath(root, file.path, O_RDONLY | O_NONBLOCK);
    return idOf(statusOf(opened)) == file.id ? firstBytesOf(opened) : std::string();
  } catch (const std::system_error&) {
    return {};
  }
}

}  // namespace

// What lies in a history that was told of is not told of again.
std::vector<std::size_t> historiesAmong(const EntryTable& entries, const Selection& shared) {
  std::vector<std::size_t> found;
  Selection within(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::size_t parent = entries.parentOf(i);
    within[i] = parent != EntryTable::ROOT && within[parent];
    if (within[i] || !shared[i]) continue;
    within[i] = isHistory(nameOf(entries[i].path)) ||
                (entries[i].kind == EntryKind::folder && holdsRepository(entries, shared, entries[i].path));
    if (within[i]) found.push_back(i);
  }
  // The project's folder is no entry. Where it is a repository itself, its objects are told of.
  const auto objects = entries.find("objects");
  if (objects && holdsRepository(entries, shared, {})) found.push_back(*objects);
  return found;
}

std::vector<Leftover> leftoversAmong(const EntryTable& entries, const Selection& shared, const Selection& heldBack,
                                     const Selection& dropped) {
  const Originals originals(entries, heldBack, dropped);
  std::vector<Leftover> found;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (!shared[i]) continue;
    std::vector<std::size_t> of;
    if (originals.find(i, of)) found.push_back({i, std::move(of)});
  }
  return found;
}

std::vector<std::size_t> storesAmong(const std::string& root, const EntryTable& entries, const Selection& shared,
                                     Look look) {
  std::vector<std::size_t> found;
  const Source source(root);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    if (!shared[i] || entry.kind != EntryKind::file) continue;
    // To open and close the project's own store here would drop the locks on it.
    const bool isOwnStore = entry.id == source.store;
    if (!isOwnStore && look == Look::likely && !canBeStore(entry)) continue;
    if (isOwnStore || firstBytesTell(firstBytesOf(source.folder, entry))) found.push_back(i);
  }
  return found;
}

}  // namespace folder_host
