#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/files/EntryTable.h"
#include "judgement/Judgement.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::FolderProject;

namespace {

std::vector<std::size_t> treeOrder(const std::vector<Entry>& entries) {
  std::vector<std::size_t> order(entries.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return folder_host::beforeInTree(entries[a].path, entries[b].path); });
  return order;
}

std::string indented(const Entry& entry) {
  const auto depth = static_cast<std::size_t>(std::count(entry.path.begin(), entry.path.end(), '/'));
  const std::string name = entry.path.substr(entry.path.rfind('/') + 1);
  return std::string(2 * depth, ' ') + freeName(name + (entry.kind == EntryKind::folder ? "/" : ""));
}

// One line an entry of the tree: '-' goes, '~' stays only for the sake of what is below it.
void printTreeLine(const Preview& preview, const Entry& entry, const Reason& reason, const Spared* spared) {
  if (reason.rule != Reason::Rule::none) {
    line(fmt::format("- {}  {}", indented(entry), textOf(preview, reason)), Tone::going);
  } else if (spared != nullptr) {
    line(fmt::format("~ {}  {}", indented(entry), textOf(preview, *spared)), Tone::warning);
  } else {
    line("  " + indented(entry));
  }
}

Json jsonLine(const Preview& preview, const Entry& entry, const Reason& reason, const Spared* spared) {
  Json object{{"type", "entry"}};
  object.update(jsonOf(entry));
  object["stays"] = reason.rule == Reason::Rule::none;
  if (reason.rule != Reason::Rule::none) object["why"] = jsonOf(preview, reason);
  if (spared != nullptr) object["spared"] = jsonOf(preview, *spared);
  return object;
}

void printTree(const folder_host::WorkingCopy& copy, const Preview& preview) {
  const std::vector<Entry>& entries = copy.listing().entries;
  for (const std::size_t i : treeOrder(entries)) {
    const Spared* spared = sparedOf(preview, entries[i]);
    const Reason& reason = preview.reasons[i];
    if (manner().json) {
      item({}, jsonLine(preview, entries[i], reason, spared));
    } else {
      printTreeLine(preview, entries[i], reason, spared);
    }
  }
}

std::array<std::size_t, 3> countsByKind(const Entries& entries) {
  std::array<std::size_t, 3> counts{};
  for (const Entry* entry : entries) ++counts[static_cast<std::size_t>(entry->kind)];
  return counts;
}

void printFilter(const Preview& preview, std::size_t position) {
  const FilterEffect& effect = preview.filters[position - 1];
  const auto [files, folders, links] = countsByKind(effect.gone);
  Json object{{"type", "filter"},   {"filter", position}, {"kind", wordOf(effect.kind)}, {"files", files},
              {"folders", folders}, {"links", links},     {"spared", effect.spared},     {"labels", Json::array()}};
  for (const std::size_t label : effect.labelsGone) object["labels"].push_back(jsonOf(preview.labels[label]));
  std::string text = nameOfFilter(preview, position) + ": ";
  if (isFileKind(effect.kind)) {
    text += fmt::format("{}, {} and {} go, {} spared", counted(files, "file", "files"),
                        counted(folders, "folder", "folders"), counted(links, "link", "links"),
                        counted(effect.spared, "folder", "folders"));
  } else {
    text += effect.labelsGone.empty() ? "no label goes" : "labels go: " + namesOf(preview, effect.labelsGone);
  }
  item(text, object);
}

void printSummary(const folder_host::WorkingCopy& copy, const Assessment& assessment) {
  const std::size_t stays = assessment.preview.stays.size();
  const std::size_t all = copy.listing().entries.size();
  const std::string refusal =
      assessment.risks.empty() ? ""
                               : fmt::format(" A share is refused for the reasons above, or as far as allowed by {}.",
                                             allowingFlags(assessment.risks));
  Json object{{"type", "summary"}, {"entries", all}, {"stay", stays}, {"refused", !assessment.risks.empty()}};
  putPath(object, "project", copy.root());
  object["labels"] = jsonOf(assessment.leaving);
  item(fmt::format("Of the project {}, {} of {} stay.{}", inQuotes(copy.root()), stays,
                   counted(all, "entry", "entries"), refusal),
       object);
  if (!manner().json) line(textOf(assessment.leaving));
}

// "'drafts/' stays: no filter of profile 'public' selects it"
std::string answer(const Assessment& assessment, const Entry& entry, const Reason& reason, const Spared* spared) {
  const std::string profile = "profile " + inQuotes(assessment.name);
  const std::string name = inQuotes(nameOf(entry));
  if (reason.rule != Reason::Rule::none) {
    return fmt::format("{} goes: {}, {}", name, profile, textOf(assessment.preview, reason));
  }
  if (spared != nullptr) return fmt::format("{} stays: {}, {}", name, profile, textOf(assessment.preview, *spared));
  return fmt::format("{} stays: no filter of {} selects it", name, profile);
}

// By name.
std::vector<folder_host::LabelRecord> labelsOf(const folder_host::LabelStore& store, const std::string& path) {
  std::set<std::u16string> uuids;
  for (const auto& label : store.labelsOf(path)) uuids.insert(label.getUUID());
  std::vector<folder_host::LabelRecord> labels;
  for (folder_host::LabelRecord& label : store.list()) {
    if (uuids.count(label.uuid) != 0) labels.push_back(std::move(label));
  }
  return labels;
}

}  // namespace

void previewProfile(const std::string& word) {
  const auto copy = openProject().workingCopy();
  const Assessment assessment = assess(*copy, *findProfile(*managerOf(*copy), word));
  printTree(*copy, assessment.preview);
  for (std::size_t i = 1; i <= assessment.preview.filters.size(); ++i) printFilter(assessment.preview, i);
  printSkipped(copy->listing());
  printNotes(assessment.notes);
  printRisks(assessment.risks);
  printSummary(*copy, assessment);
}

void explainPath(const std::string& named, const std::string& word) {
  const FolderProject project = openProject();
  const std::string path = project.locate(named);
  const auto copy = project.workingCopy();
  const Assessment assessment = assess(*copy, *findProfile(*managerOf(*copy), word));
  const auto index = copy->table().find(path);
  if (!index) {
    throw Refusal(folder_host::errors::PATH_NOT_AN_ENTRY,
                  fmt::format("{} is no file, folder or link of the project", inQuotes(named)));
  }
  const Entry& entry = copy->listing().entries[*index];
  const Reason& reason = assessment.preview.reasons[*index];
  const Spared* spared = sparedOf(assessment.preview, entry);
  Json object = jsonLine(assessment.preview, entry, reason, spared);
  object["profile"] = {{"uuid", utf8(assessment.uuid)}, {"name", utf8(assessment.name)}};
  object["labels"] = Json::array();
  for (const auto& label : labelsOf(copy->getLabelManager(), path)) object["labels"].push_back(jsonOf(label));
  item(answer(assessment, entry, reason, spared), object);
  if (manner().json) return;
  for (const folder_host::LabelRecord& label : labelsOf(copy->getLabelManager(), path))
    line("label  " + freeName(nameOf(label)));
}

}  // namespace project_share
