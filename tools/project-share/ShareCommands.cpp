#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "Amiss.h"
#include "Commands.h"
#include "Lookup.h"
#include "Output.h"
#include "Preview.h"
#include "Refusal.h"
#include "folder_host/Sharing.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::WorkingCopy;

namespace {

struct Prepared {
  std::shared_ptr<profiles::ExportProfile> profile;
  Preview preview;
};

// Of a clone, so that the copy itself still has everything.
Prepared prepare(const WorkingCopy& copy, const std::string& word) {
  const auto clone = copy.clone();
  const auto profile = findProfile(*profiles::createManager(clone->getMetadataManager()), word);
  return {profile, previewOf(*profile, *clone)};
}

// Of all folders, or of one.
void printSpared(const Preview& preview, const std::string& only = {}) {
  for (const FilterEffect& filter : preview.filters) {
    for (const Spared& spared : filter.spared) {
      if (!only.empty() && spared.folder != only) continue;
      line(fmt::format("spared {}/  {}, selects it; it stays because {} below it stays", shown(spared.folder),
                       filter.name, shown(spared.because)));
    }
  }
}

// What was to be held back under a name that nothing carries leaves in silence, if nobody says so.
void printIdle(const Preview& preview) {
  for (const FilterEffect& filter : preview.filters) {
    if (!filter.gone.empty() || !filter.spared.empty() || !filter.labelsGone.empty()) continue;
    line(fmt::format("idle   {}, takes nothing out", filter.name));
  }
}

void printHostRemovals(const folder_host::HostRemovals& removals) {
  for (const auto& link : removals.links) line(fmt::format("goes   {}  a link to what is not handed out", shown(link)));
  for (const auto& folder : removals.emptied) line(fmt::format("goes   {}/  nothing left in it", shown(folder)));
}

// Why each entry that goes does, by path.
std::map<std::string, std::string> reasonsOf(const Preview& preview) {
  std::map<std::string, std::string> reasons;
  for (const FilterEffect& filter : preview.filters) {
    for (const std::string& path : filter.gone) reasons[path] = filter.name;
  }
  for (const auto& link : preview.host.links) reasons[link] = "a link to what is not handed out";
  for (const auto& folder : preview.host.emptied) reasons[folder] = "nothing left in it";
  return reasons;
}

std::string described(const folder_host::Entry& entry, const std::map<std::string, std::string>& reasons) {
  const std::string name = shown(entry.path) + (entry.kind == folder_host::EntryKind::folder ? "/" : "");
  const auto reason = reasons.find(entry.path);
  return reason == reasons.end() ? "stays  " + name : fmt::format("goes   {}  {}", name, reason->second);
}

void printLabels(const Preview& preview) {
  for (const FilterEffect& filter : preview.filters) {
    for (const auto& label : filter.labelsGone) {
      line(fmt::format("label goes  {}  {}", nameOf(label), filter.name));
    }
  }
}

void share(const FolderProject& project, const std::u16string& uuid, const std::shared_ptr<WorkingCopy>& copy,
           const std::string& destination) {
  const std::size_t before = copy->listing().entries.size();
  const std::vector<std::string> amiss = amissIn(*copy);
  const folder_host::ShareResult result =
      folder_host::share(copy, profiles::ExportProfileTransformation(uuid), destination);
  project.confirm();
  printHostRemovals(result.removals);
  for (const std::string& one : amiss) line(one);
  line(fmt::format("Shared {}, {} and {} ({}) to {}; {} left out.", counted(result.files, "file", "files"),
                   counted(result.folders, "folder", "folders"), counted(result.links, "link", "links"),
                   counted(result.bytes, "byte", "bytes"), shown(destination),
                   counted(before - copy->entries().size(), "entry", "entries")));
}

}  // namespace

void previewProfile(const std::string& word) {
  const auto copy = FolderProject::open(".").workingCopy();
  const Prepared prepared = prepare(*copy, word);
  const auto reasons = reasonsOf(prepared.preview);
  for (const folder_host::Entry& entry : copy->listing().entries) line(described(entry, reasons));
  printSpared(prepared.preview);
  printLabels(prepared.preview);
  printIdle(prepared.preview);
  for (const std::string& one : amissIn(*copy)) line(one);
  const std::size_t stays = prepared.preview.stays.size();
  line(fmt::format("{} of {} stay.", stays, counted(copy->listing().entries.size(), "entry", "entries")));
}

void explainPath(const std::string& named, const std::string& word) {
  const FolderProject project = FolderProject::open(".");
  const std::string path = project.locate(named);
  const auto copy = project.workingCopy();
  const Prepared prepared = prepare(*copy, word);
  const auto& entries = copy->listing().entries;
  const auto entry = std::find_if(entries.begin(), entries.end(), [&](const auto& one) { return one.path == path; });
  if (entry == entries.end()) {
    throw Refusal(folder_host::errors::PATH_NOT_AN_ENTRY,
                  fmt::format("\"{}\" is no file, folder or link of the project", shown(named)));
  }
  line(described(*entry, reasonsOf(prepared.preview)));
  printSpared(prepared.preview, path);
  const folder_host::LabelStore& store = copy->getLabelManager();
  const auto labels = store.list();
  for (const auto& label : store.labelsOf(path)) {
    line("label  " + nameOf({label.getCategory().toString(), label.getUUID()}, labels));
  }
}

void shareProfile(const std::string& word, const std::string& destination) {
  const FolderProject project = FolderProject::open(".");
  const auto copy = project.workingCopy();
  folder_host::checkDestination(*copy, destination);
  const Prepared prepared = prepare(*copy, word);
  share(project, prepared.profile->getUUID(), copy, destination);
  printSpared(prepared.preview);
  printIdle(prepared.preview);
}

void shareWhole(const std::string& destination) {
  const FolderProject project = FolderProject::open(".");
  share(project, profiles::getWholeProjectUUID(), project.workingCopy(), destination);
}

}  // namespace project_share
