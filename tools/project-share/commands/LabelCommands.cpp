#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

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
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::LabelRecord;
using folder_host::Listing;
using folder_host::Selection;

namespace {

// Of the sorted paths the one named and, unless `only` it is meant, those below it; of an empty path all. What lies
// below a folder stands together in the sorted list, behind the folder's name and a slash; "a-b" stands between "a" and
// "a/x" and is passed over.
std::vector<std::string> pathsAt(const std::vector<std::string>& sorted, const std::string& path, bool only) {
  std::vector<std::string> found;
  if (std::binary_search(sorted.begin(), sorted.end(), path)) found.push_back(path);
  if (only) return found;
  const std::string prefix = path.empty() ? path : path + "/";
  auto below = std::lower_bound(sorted.begin(), sorted.end(), prefix);
  for (; below != sorted.end() && below->compare(0, prefix.size(), prefix) == 0; ++below) found.push_back(*below);
  return found;
}

// Tells of words in the wrong order, where that is why there is no such label. Found by name or UUID once, and by UUID
// from then on: another program may rename the label before the edit.
LabelRecord namedLabel(const FolderProject& project, const std::string& word, const Paths& named) {
  const LabelIndex labels(project.labels().list());
  try {
    return labels.named(word);
  } catch (const Refusal& error) {
    if (std::none_of(named.begin(), named.end(), [&](const std::string& path) { return labels.hasName(path); })) throw;
    throw Refusal(error.identifier(), fmt::format("{} is no label; LABEL comes before PATH", inQuotes(word)));
  }
}

// One note for all links: whoever labels a folder labels each link in it, and a line each would bury what was done.
Risk linkNote(const FolderProject& project, const LabelRecord& label, const Paths& links) {
  const std::string more = links.size() == 1 ? "" : fmt::format(" (and {} more)", links.size() - 1);
  return {risks::LABEL_ON_LINK.identifier, links.front(),
          fmt::format("{}{} is a link, and the label is about the link alone; for what it leads to: {}",
                      inQuotes(links.front()), more,
                      commandOf({"label", "attach", nameOf(label), fromHere(project.root(), links.front()) + "/"}))};
}

// Whoever detaches the label from a file says that it may be shared, with what it holds, even where that, or its name,
// is what the label holds back elsewhere. Gives those of the paths for which there is such a place, and their digests.
// Only the named files can be settled, so only they are compared with what carries the label.
std::map<std::string, std::string> settledAmong(const FolderProject& project, const Paths& paths,
                                                const Paths& labelled) {
  const EntryTable table(std::make_shared<const Listing>(project.list()));
  Selection named(table.size()), carrying(table.size());
  for (const std::string& path : labelled) {
    if (const auto entry = table.find(path)) carrying[*entry] = true;
  }
  for (const std::string& path : paths) {
    const auto entry = table.find(path);
    if (entry && table[*entry].kind == EntryKind::file) named[*entry] = !carrying[*entry];
  }
  std::map<std::string, std::string> digests;
  for (const auto& twins : twinsAmong(project.root(), table, named, carrying)) {
    for (const std::size_t entry : twins.shared) digests[table[entry].path] = twins.digest;
  }
  for (const auto& leftover : leftoversAmong(table, named, carrying, carrying)) {
    const Entry& entry = table[leftover.entry];
    if (digests.count(entry.path) == 0) digests[entry.path] = digestOf(project.root(), entry);
  }
  // What cannot be read cannot be settled: nobody knows of which content it would be said.
  for (auto one = digests.begin(); one != digests.end();) one = one->second.empty() ? digests.erase(one) : ++one;
  return digests;
}

// A filter selects nothing by a label that is deleted: what it was to hold back would be shared.
void refuseInUse(profiles::ExportProfileManager& manager, const LabelRecord& label) {
  forEachItem(manager, [&](const auto& profile, const auto& filter, const auto& item) {
    if (item.labelUUID != label.uuid) return;
    throw Refusal(refusals::LABEL_IN_USE,
                  fmt::format("profile {} names {} in its {} filter; take it out there first",
                              inQuotes(nameOf(profile)), inQuotes(nameOf(label)), wordOf(filter.getType())));
  });
}

// That a file may be shared from now on is said for each, by its name: it is the part of the command that lets
// something out.
void tellDetached(const LabelRecord& label, std::size_t removed, const std::map<std::string, std::string>& settled) {
  const std::string name = inQuotes(nameOf(label));
  Json object{{"label", jsonOf(label)}, {"removed", removed}, {"settled", Json::array()}};
  std::vector<std::string> sentences;
  if (removed > 0 || settled.empty()) {
    sentences.push_back(fmt::format("Detached {} from {}.", name, counted(removed, "path", "paths")));
  }
  for (const auto& [path, digest] : settled) {
    object["settled"].push_back(Json::object());
    putPath(object["settled"].back(), "path", path);
    sentences.push_back(fmt::format("As far as {} is concerned, {} may be shared with the content that it has now.",
                                    name, inQuotes(path)));
  }
  done(fmt::format("{}", fmt::join(sentences, " ")), object);
}

}  // namespace

void createLabels(const std::vector<std::string>& labels) {
  const FolderProject project = openProject();
  const std::vector<LabelRecord> made = edit(project, [&] {
    std::vector<LabelRecord> records;
    // Looked up within the scope: another command may be making the same label.
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
  // Labels and their numbers of paths are of one moment.
  const auto scope = project.metadata()->beginReadScope();
  for (const LabelRecord& label : project.labels().list()) {
    printLabel(label, project.labels().pathsOf(label.uuid).size());
  }
}

void renameLabel(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    const LabelIndex labels(project.labels().list());
    LabelRecord found = labels.named(word);
    // Not compared with itself, or nobody could change upper and lower case in a name.
    LabelLooks(labels.records(), found.uuid).add(found.categoryName, folder_host::fromBytes(name));
    project.labels().rename(found.uuid, folder_host::fromBytes(name));
    return found;
  });
  done(fmt::format("Renamed label {} to {} ({}).", inQuotes(nameOf(label)), inQuotes(name), freeName(label.uuid)),
       {{"uuid", utf8(label.uuid)}, {"category", utf8(label.categoryName)}, {"name", utf8(name)}});
}

void deleteLabel(const std::string& word) {
  const FolderProject project = openProject();
  const auto [label, count] = edit(project, [&] {
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    // In the scope in which it is deleted: no other program can add it to a filter in between.
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

void protectLabel(const std::string& word, bool isProtected) {
  const FolderProject project = openProject();
  const LabelRecord label = edit(project, [&] {
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    project.labels().setProtected(found.uuid, isProtected);
    found.isProtected = isProtected;
    return found;
  });
  done(fmt::format("Filters may {} remove label {}.", isProtected ? "not" : "now", inQuotes(nameOf(label))),
       jsonOf(label));
}

std::vector<std::string> readPaths(char end) {
  std::ios::sync_with_stdio(false);  // else a read that fails looks like the end
  std::vector<std::string> paths;
  for (std::string path; std::getline(std::cin, path, end);) {
    // An empty line, such as a list often ends with, names nothing.
    if (!path.empty()) paths.push_back(path);
  }
  if (std::cin.bad()) throw Refusal(refusals::INPUT_FAILED, "standard input cannot be read to its end");
  return paths;
}

// Attaching and detaching read the disk before they lock the store: however long that takes, no other command waits for
// it. What changes in between could as well have changed a moment later. A file that comes has no label, and one that
// is removed leaves its label on a missing path. A label that another command attaches stays attached, one that it
// detaches is detached already, and a file that gets another content is not the one that may be shared. The label is
// known by its UUID: under another name it is the same, and once deleted it is attached to nothing.

void attachLabel(const std::string& word, const std::vector<std::string>& named, bool folderOnly) {
  const FolderProject project = openProject();
  const LabelRecord label = namedLabel(project, word, named);
  const EntryTable table(std::make_shared<const Listing>(project.list()));
  Paths entries, paths, links;
  for (std::size_t i = 0; i < table.size(); ++i) entries.push_back(table[i].path);
  for (const std::string& one : named) {
    // A label on a path that is no entry would hold nothing back, and look as if it did.
    const Paths found = pathsAt(entries, project.locate(one), folderOnly);
    if (found.empty()) {
      throw Refusal(
          folder_host::errors::PATH_NOT_AN_ENTRY,
          fmt::format("{} is no file, folder or link of the project to which a label can be attached", inQuotes(one)));
    }
    paths.insert(paths.end(), found.begin(), found.end());
  }
  std::sort(paths.begin(), paths.end());
  // A folder may be named beside what lies in it: each path counts once, so that the numbers that are told are right.
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  const std::size_t added = edit(project, [&] { return project.labels().attach(label.uuid, paths); });

  const std::string had = paths.size() == added ? "" : fmt::format(" ({} had it already)", paths.size() - added);
  done(fmt::format("Attached {} to {}{}.", inQuotes(nameOf(label)), counted(added, "entry", "entries"), had),
       {{"label", jsonOf(label)}, {"entries", paths.size()}, {"added", added}});
  std::copy_if(paths.begin(), paths.end(), std::back_inserter(links),
               [&](const std::string& path) { return table[table.find(path).value()].kind == EntryKind::link; });
  if (!links.empty() && !manner().quiet) printNotes({linkNote(project, label, links)});
}

void detachLabel(const std::string& word, const std::vector<std::string>& named, bool folderOnly) {
  const FolderProject project = openProject();
  const LabelRecord label = namedLabel(project, word, named);
  // By what carries the label, entry or not: so it comes off a missing path, too.
  const Paths labelled = project.labels().pathsOf(label.uuid);
  Paths locations, carrying, others;
  for (const std::string& one : named) {
    locations.push_back(project.locate(one));
    const Paths at = pathsAt(labelled, locations.back(), folderOnly);
    carrying.insert(carrying.end(), at.begin(), at.end());
  }
  std::sort(carrying.begin(), carrying.end());
  std::set_difference(labelled.begin(), labelled.end(), carrying.begin(), carrying.end(), std::back_inserter(others));
  const std::map<std::string, std::string> settled = settledAmong(project, locations, others);
  for (std::size_t i = 0; i < named.size(); ++i) {
    // Nothing is done where one of the paths has nothing to do: a path that was mistyped would else go unnoticed, and
    // the label would stay where it was to come off.
    if (settled.count(locations[i]) != 0 || !pathsAt(labelled, locations[i], folderOnly).empty()) continue;
    throw Refusal(refusals::LABEL_NOT_ATTACHED, fmt::format("nothing at {} carries that label", inQuotes(named[i])));
  }
  const std::size_t removed = edit(project, [&] {
    // Both in one scope: a label that came off while nothing was settled would have the next share refused for what was
    // just allowed.
    folder_host::Settlements settlements(*project.metadata());
    for (const auto& [path, digest] : settled) settlements.settle(path, label.uuid, digest);
    return project.labels().detach(label.uuid, carrying);
  });
  tellDetached(label, removed, settled);
}

}  // namespace project_share
