#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/share/Twins.h"
#include "folder_host/store/Settlements.h"
#include "folder_host/text/Utf.h"
#include "judgement/Mending.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Looks.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::LabelRecord;
using folder_host::Listing;
using folder_host::Selection;

namespace {

// Of the sorted paths the one named and, unless `only` it is meant, those below it; of an empty path all.
std::vector<std::string> pathsAt(const std::vector<std::string>& sorted, const std::string& path, bool only) {
  std::vector<std::string> found;
  if (std::binary_search(sorted.begin(), sorted.end(), path)) found.push_back(path);
  if (only) return found;
  const std::string prefix = path.empty() ? path : path + "/";
  auto below = std::lower_bound(sorted.begin(), sorted.end(), prefix);
  for (; below != sorted.end() && below->compare(0, prefix.size(), prefix) == 0; ++below) found.push_back(*below);
  return found;
}

// All that a person named. Throws the refusal for a name at which there is nothing.
template <class Refuse>
std::vector<std::string> pathsAt(const std::vector<std::string>& sorted, const FolderProject& project,
                                 const std::vector<std::string>& named, bool only, const Refuse& refusalOf) {
  std::vector<std::string> all;
  for (const std::string& one : named) {
    const std::vector<std::string> found = pathsAt(sorted, project.locate(one), only);
    if (found.empty()) throw refusalOf(inQuotes(one));
    all.insert(all.end(), found.begin(), found.end());
  }
  return all;
}

Refusal noEntry(const std::string& named) {
  return {folder_host::errors::PATH_NOT_AN_ENTRY,
          fmt::format("{} is no file, folder or link of the project that a label can hang on", named)};
}

Refusal notAttached(const std::string& named) {
  return {refusals::LABEL_NOT_ATTACHED, fmt::format("nothing at {} carries that label", named)};
}

Paths pathsOf(const Listing& listing) {
  Paths paths;
  paths.reserve(listing.entries.size());
  for (const Entry& entry : listing.entries) paths.push_back(entry.path);
  return paths;
}

// Tells of words in the wrong order, where that is why there is no such label.
LabelRecord namedLabel(const std::vector<LabelRecord>& labels, const std::string& word, const Paths& named) {
  try {
    return findLabel(labels, word);
  } catch (const Refusal& error) {
    const auto isLabel = [&](const std::string& path) {
      return std::any_of(labels.begin(), labels.end(), [&](const LabelRecord& label) { return nameOf(label) == path; });
    };
    if (!std::any_of(named.begin(), named.end(), isLabel)) throw;
    throw Refusal(error.identifier(), fmt::format("{} is no label; LABEL comes before PATH", inQuotes(word)));
  }
}

Risk linkNote(const FolderProject& project, const LabelRecord& label, const Paths& links) {
  const std::string more = links.size() == 1 ? "" : fmt::format(" (and {} more)", links.size() - 1);
  return {risks::LABEL_ON_LINK.identifier, links.front(),
          fmt::format("{}{} is a link, and the label is about the link alone; for what it leads to: {}",
                      inQuotes(links.front()), more,
                      commandOf({"label", "attach", nameOf(label), fromHere(project.root(), links.front()) + "/"}))};
}

// Whoever takes the label off a file says that it may be shared, with what it holds, even where that, or its name, is
// what the label holds back elsewhere. Gives the paths for which there is such a place.
Paths settle(const FolderProject& project, const LabelRecord& label, const Paths& paths) {
  const EntryTable table(std::make_shared<const Listing>(project.list()));
  Selection named(table.size()), carrying(table.size());
  for (const std::string& path : project.labels().pathsOf(label.uuid)) {
    if (const auto entry = table.find(path)) carrying[*entry] = true;
  }
  for (const std::string& path : paths) {
    const auto entry = table.find(path);
    if (entry && table[*entry].kind == EntryKind::file) named[*entry] = !carrying[*entry];
  }
  std::map<std::size_t, std::string> digests;
  for (const auto& twins : twinsAmong(project.root(), table, named, carrying)) {
    for (const std::size_t entry : twins.shared) digests[entry] = twins.digest;
  }
  for (const auto& leftover : leftoversAmong(table, named, carrying, carrying)) {
    digests.emplace(leftover.entry, digestOf(project.root(), table[leftover.entry]));
  }
  Paths settled;
  folder_host::Settlements settlements(*project.metadata());
  for (const auto& [entry, digest] : digests) {
    if (digest.empty()) continue;
    settlements.settle(table[entry].path, label.uuid, digest);
    settled.push_back(table[entry].path);
  }
  return settled;
}

// A filter that names a label that is gone selects nothing any more: what it was to hold back would leave.
void refuseInUse(profiles::ExportProfileManager& manager, const LabelRecord& label) {
  forEachItem(manager, [&](const auto& profile, const auto& filter, const auto& item) {
    if (item.labelUUID != label.uuid) return;
    throw Refusal(refusals::LABEL_IN_USE,
                  fmt::format("profile {} names {} in its {} filter; take it out there first",
                              inQuotes(nameOf(profile)), inQuotes(nameOf(label)), wordOf(filter.getType())));
  });
}

}  // namespace

void initProject(const std::string& folder) {
  const FolderProject project = makeProject(folder);
  Json object;
  putPath(object, "project", project.root());
  done(fmt::format("Made {} a project.", inQuotes(project.root())), object);
}

void createLabels(const std::vector<std::string>& labels) {
  const FolderProject project = openProject();
  const std::vector<LabelRecord> made = edit(project, [&] {
    std::vector<LabelRecord> records;
    LabelLooks looks(project.labels().list());
    for (const std::string& label : labels) {
      const auto [category, name] = splitLabel(label);
      looks.add(category, name);
      records.push_back(project.labels().create(category, name));
    }
    return records;
  });
  for (const LabelRecord& label : made) {
    done(fmt::format("Created label {} ({}).", inQuotes(nameOf(label)), freeName(label.uuid)), jsonOf(label));
  }
}

void listLabels() {
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  for (const LabelRecord& label : project.labels().list()) {
    printLabel(label, project.labels().pathsOf(label.uuid).size());
  }
}

void renameLabel(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    const std::vector<LabelRecord> labels = project.labels().list();
    LabelRecord found = findLabel(labels, word);
    LabelLooks(labels, found.uuid).add(found.categoryName, folder_host::fromBytes(name));
    project.labels().rename(found.uuid, folder_host::fromBytes(name));
    return found;
  });
  done(fmt::format("Renamed label {} to {} ({}).", inQuotes(nameOf(label)), inQuotes(name), freeName(label.uuid)),
       {{"uuid", utf8(label.uuid)}, {"category", utf8(label.categoryName)}, {"name", utf8(name)}});
}

void deleteLabel(const std::string& word) {
  const FolderProject project = openProject();
  const auto [label, count] = edit(project, [&] {
    LabelRecord found = findLabel(project.labels().list(), word);
    refuseInUse(*profiles::createManager(project.metadata()), found);
    const std::size_t paths = project.labels().pathsOf(found.uuid).size();
    project.labels().erase(found.uuid);
    return std::pair(std::move(found), paths);
  });
  Json object = jsonOf(label);
  object["paths"] = count;
  done(fmt::format("Deleted label {} ({}), which was attached to {}.", inQuotes(nameOf(label)), freeName(label.uuid),
                   counted(count, "path", "paths")),
       object);
}

void keepLabel(const std::string& word, bool kept) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    LabelRecord found = findLabel(project.labels().list(), word);
    project.labels().setProtected(found.uuid, kept);
    found.isProtected = kept;
    return found;
  });
  done(fmt::format("Filters may {} remove label {}.", kept ? "not" : "now", inQuotes(nameOf(label))), jsonOf(label));
}

std::vector<std::string> readPaths(char end) {
  std::vector<std::string> paths(1);
  std::array<char, 4096> bytes{};
  while (const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), stdin)) {
    for (const char byte : std::string_view(bytes.data(), count)) {
      if (byte != end) {
        paths.back() += byte;
      } else if (!paths.back().empty()) {
        paths.emplace_back();
      }
    }
  }
  if (std::ferror(stdin) != 0) throw Refusal(refusals::INPUT_FAILED, "standard input cannot be read to its end");
  if (paths.back().empty()) paths.pop_back();
  return paths;
}

void attachLabel(const std::string& word, const std::vector<std::string>& named, bool folderOnly) {
  const FolderProject project = openProject();
  const auto [label, paths, added, links] = edit(project, [&] {
    LabelRecord found = namedLabel(project.labels().list(), word, named);
    const EntryTable table(std::make_shared<const Listing>(project.list()));
    std::vector<std::string> all = pathsAt(pathsOf(table.listing()), project, named, folderOnly, noEntry);
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    const std::size_t count = project.labels().attach(found.uuid, all);
    Paths onLinks;
    std::copy_if(all.begin(), all.end(), std::back_inserter(onLinks),
                 [&](const std::string& path) { return table[table.find(path).value()].kind == EntryKind::link; });
    return std::tuple(std::move(found), std::move(all), count, std::move(onLinks));
  });
  const std::string had = paths.size() == added ? "" : fmt::format(" ({} had it already)", paths.size() - added);
  done(fmt::format("Attached {} to {}{}.", inQuotes(nameOf(label)), counted(added, "entry", "entries"), had),
       {{"label", jsonOf(label)}, {"entries", paths.size()}, {"added", added}});
  if (!links.empty() && !manner().quiet) printNotes({linkNote(project, label, links)});
}

void detachLabel(const std::string& word, const std::vector<std::string>& named, bool folderOnly) {
  const FolderProject project = openProject();
  const auto [label, removed, settled] = edit(project, [&] {
    LabelRecord found = namedLabel(project.labels().list(), word, named);
    // By what carries the label, entry or not: so it comes off a file that is gone, too.
    const std::vector<std::string> labelled = project.labels().pathsOf(found.uuid);
    Paths locations, carrying;
    for (const std::string& one : named) {
      locations.push_back(project.locate(one));
      const Paths at = pathsAt(labelled, locations.back(), folderOnly);
      carrying.insert(carrying.end(), at.begin(), at.end());
    }
    const std::size_t count = project.labels().detach(found.uuid, carrying);
    Paths said = settle(project, found, locations);
    for (std::size_t i = 0; i < named.size(); ++i) {
      const bool isSettled = std::find(said.begin(), said.end(), locations[i]) != said.end();
      if (!isSettled && pathsAt(labelled, locations[i], folderOnly).empty()) throw notAttached(inQuotes(named[i]));
    }
    return std::tuple(std::move(found), count, std::move(said));
  });
  Json object{{"label", jsonOf(label)}, {"removed", removed}, {"settled", Json::array()}};
  std::string text;
  if (removed > 0 || settled.empty()) {
    text = fmt::format("Detached {} from {}.", inQuotes(nameOf(label)), counted(removed, "path", "paths"));
  }
  for (const std::string& path : settled) {
    object["settled"].push_back(Json::object());
    putPath(object["settled"].back(), "path", path);
    text += fmt::format("{}As far as {} goes, {} may be shared with the content that it has now.",
                        text.empty() ? "" : " ", inQuotes(nameOf(label)), inQuotes(path));
  }
  done(text, object);
}

}  // namespace project_share
