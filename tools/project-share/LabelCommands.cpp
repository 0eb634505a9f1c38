#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "Commands.h"
#include "Edit.h"
#include "Lookup.h"
#include "OpenProject.h"
#include "Output.h"
#include "PreviewReport.h"
#include "Refusal.h"
#include "folder_host/Text.h"

namespace project_share {

using folder_host::Entry;
using folder_host::FolderProject;
using folder_host::LabelRecord;

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

std::vector<std::string> entryPaths(const FolderProject& project) {
  std::vector<std::string> paths;
  for (Entry& entry : project.list().entries) paths.push_back(std::move(entry.path));
  return paths;
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

std::size_t distinct(std::vector<std::string> paths) {
  std::sort(paths.begin(), paths.end());
  return static_cast<std::size_t>(std::unique(paths.begin(), paths.end()) - paths.begin());
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
    for (const std::string& label : labels) {
      const auto [category, name] = splitLabel(label);
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
    LabelRecord found = findLabel(project.labels().list(), word);
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
    project.labels().setKept(found.uuid, kept);
    found.kept = kept;
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
  const auto [label, entries, added] = edit(project, [&] {
    LabelRecord found = findLabel(project.labels().list(), word);
    std::vector<std::string> paths = pathsAt(entryPaths(project), project, named, folderOnly, noEntry);
    const std::size_t count = project.labels().attach(found.uuid, paths);
    return std::tuple(std::move(found), distinct(std::move(paths)), count);
  });
  const std::string had = entries == added ? "" : fmt::format(" ({} had it already)", entries - added);
  done(fmt::format("Attached {} to {}{}.", inQuotes(nameOf(label)), counted(added, "entry", "entries"), had),
       {{"label", jsonOf(label)}, {"entries", entries}, {"added", added}});
}

void detachLabel(const std::string& word, const std::vector<std::string>& named, bool folderOnly) {
  const FolderProject project = openProject();
  const auto [label, removed] = edit(project, [&] {
    LabelRecord found = findLabel(project.labels().list(), word);
    // By what carries the label, entry or not: so it comes off a file that is gone, too.
    const std::vector<std::string> labelled = project.labels().pathsOf(found.uuid);
    const std::size_t count =
        project.labels().detach(found.uuid, pathsAt(labelled, project, named, folderOnly, notAttached));
    return std::pair(std::move(found), count);
  });
  done(fmt::format("Detached {} from {}.", inQuotes(nameOf(label)), counted(removed, "path", "paths")),
       {{"label", jsonOf(label)}, {"removed", removed}});
}

}  // namespace project_share
