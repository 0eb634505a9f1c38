#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Gate.h"
#include "folder_host/files/EntryTable.h"
#include "judgement/Judge.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "output/View.h"
#include "settings/OpenProject.h"
#include "words/Entries.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::FolderProject;
using folder_host::LabelSource;

namespace {

// The name alone, behind the indent of the folders that are shown: a whole path a line hides where the tree branches.
std::string indented(const Entry& entry, std::size_t indent) {
  if (indent == 0) return freeName(nameOf(entry));
  const std::string name = entry.path.substr(entry.path.rfind('/') + 1);
  return std::string(2 * indent, ' ') + freeName(name + (entry.kind == EntryKind::folder ? "/" : ""));
}

// What of the entries that are shared lacks a label of a drop-files filter by an exception, or by a rule that takes it
// away: whoever looks through the tree has to see that this is meant.
class Exceptions {
 public:
  Exceptions(const folder_host::WorkingCopy& project, const Judgement& judgement)
      : project_(project), judgement_(judgement), sources_(project.effective().sources()) {
    const auto manager = managerOf(*project.clone());
    for (const auto& filter : manager->getProfileByUUID(judgement.uuid)->getFilters()) {
      if (!dropsFiles(filter->getType())) continue;
      for (const auto& item : filter->getItems()) {
        if (const auto label = sources_.find(item.labelUUID)) labels_.insert(*label);
      }
    }
  }

  // "excepted with 'drafts/final/' from audience/internal"
  std::vector<std::string> of(std::size_t entry) const {
    std::vector<std::string> texts;
    if (judgement_.reasons[entry].rule != Reason::Rule::none) return texts;
    const Entry& listed = project_.table()[entry];
    for (const std::size_t label : labels_) {
      const auto source = sources_.sourceOf(listed.path, listed.kind == EntryKind::folder, label);
      if (source.kind == LabelSource::Kind::exception || source.kind == LabelSource::Kind::negatedRule) {
        texts.push_back(textOf(source, listed.path) + " from " + freeName(nameOf(sources_.labels()[label])));
      }
    }
    return texts;
  }

 private:
  const folder_host::WorkingCopy& project_;
  const Judgement& judgement_;
  const folder_host::LabelSources& sources_;
  std::set<std::size_t> labels_;
};

// Where the labels for which the entry is held back come from, unless they are attached to it: " (from 'drafts/')".
std::string whenceOf(const folder_host::WorkingCopy& project, const Judgement& judgement, std::size_t entry) {
  const Entry& listed = project.table()[entry];
  const auto& sources = project.effective().sources();
  std::set<std::string> whence;
  for (const std::size_t label : judgement.reasons[entry].labels) {
    const auto index = sources.find(judgement.labels[label].uuid);
    const LabelSource source = sources.sourceOf(listed.path, listed.kind == EntryKind::folder, index.value());
    if (source.gives() && source.at + source.pattern != listed.path) whence.insert(textOf(source, listed.path));
  }
  return whence.empty() ? "" : fmt::format(" ({})", fmt::join(whence, ", "));
}

// One line an entry of the tree: '-' is held back, '~' is shared only for the sake of what is below it. Each mark is a
// character and not a colour alone, so that it is there in a file and for whoever does not see colours.
void printTreeLine(const folder_host::WorkingCopy& project, const Judgement& judgement, const Exceptions& exceptions,
                   const ViewLine& shown) {
  const std::size_t entry = shown.entry;
  const Entry& listed = project.table()[entry];
  const std::string name = indented(listed, shown.indent);
  const std::string below =
      shown.below ? fmt::format("  ({} shared and {} held back below)", shown.below->shared, shown.below->heldBack)
                  : "";
  const Reason& reason = judgement.reasons[entry];
  const Spared* spared = sparedOf(judgement, listed);
  if (reason.rule != Reason::Rule::none) {
    line(fmt::format("- {}  {}{}{}", name, textOf(judgement, reason), whenceOf(project, judgement, entry), below),
         Tone::heldBack);
  } else if (spared != nullptr) {
    line(fmt::format("~ {}  {}{}", name, textOf(judgement, *spared), below), Tone::warning);
  } else {
    const auto excepted = exceptions.of(entry);
    line(fmt::format("  {}{}{}{}", name, excepted.empty() ? "" : "  shared, ", fmt::join(excepted, ", "), below));
  }
}

Json jsonLine(const folder_host::WorkingCopy& project, const Judgement& judgement, std::size_t entry) {
  const Entry& listed = project.table()[entry];
  const Reason& reason = judgement.reasons[entry];
  Json object{{"type", "entry"}};
  object.update(jsonOf(listed));
  object["shared"] = reason.rule == Reason::Rule::none;
  if (reason.rule != Reason::Rule::none) object["reason"] = jsonOf(judgement, reason);
  if (const Spared* spared = sparedOf(judgement, listed)) object["spared"] = jsonOf(judgement, *spared);
  object["labels"] = jsonOfLabels(project, entry);
  return object;
}

void printTree(const folder_host::WorkingCopy& copy, const Judgement& judgement, const ViewWords& words) {
  const Exceptions exceptions(copy, judgement);
  const std::vector<ViewLine> lines = viewOf(copy, judgement, words);
  for (const ViewLine& shown : lines) {
    if (manner().json) {
      Json object = jsonLine(copy, judgement, shown.entry);
      if (shown.below) object["below"] = {{"shared", shown.below->shared}, {"heldBack", shown.below->heldBack}};
      item({}, object);
    } else {
      printTreeLine(copy, judgement, exceptions, shown);
    }
  }
  printView(copy, words, lines.size());
}

std::array<std::size_t, 3> countsByKind(const Entries& entries) {
  std::array<std::size_t, 3> counts{};
  for (const Entry* entry : entries) ++counts[static_cast<std::size_t>(entry->kind)];
  return counts;
}

void printFilter(const Judgement& judgement, std::size_t position) {
  const FilterEffect& effect = judgement.filters[position - 1];
  const auto [files, folders, links] = countsByKind(effect.heldBack);
  Json object{{"type", "filter"},   {"filter", position}, {"kind", wordOf(effect.kind)},    {"files", files},
              {"folders", folders}, {"links", links},     {"spared", effect.spared.size()}, {"labels", Json::array()}};
  for (const std::size_t label : effect.labelsRemoved) object["labels"].push_back(jsonOf(judgement.labels[label]));
  std::string text = nameOfFilter(judgement, position) + ": ";
  if (isFileKind(effect.kind)) {
    text += fmt::format("{}, {} and {} held back, {} spared", counted(files, "file", "files"),
                        counted(folders, "folder", "folders"), counted(links, "link", "links"),
                        counted(effect.spared.size(), "folder", "folders"));
  } else {
    text += effect.labelsRemoved.empty() ? "no label removed"
                                         : "labels removed: " + namesOf(judgement, effect.labelsRemoved);
  }
  item(text, object);
}

void printSummary(const folder_host::WorkingCopy& copy, const Judgement& judgement) {
  const std::size_t shared = judgement.shared.size();
  const auto& risks = judgement.found.risks;
  const std::size_t all = judgement.entries;
  const std::string refusal =
      risks.empty()
          ? ""
          : fmt::format(" A share is refused for the risks above; {} would allow them.", allowingFlags(risks));
  Json object{{"type", "summary"}, {"entries", all}, {"shared", shared}, {"refused", !risks.empty()}};
  // The project is named, because the nearest one above may not be the one that is meant.
  putScope(object, copy);
  object["labels"] = jsonOf(judgement.leaving);
  item(fmt::format("Of {}, {} of {} {} shared.{}", scopeText(copy), shared, counted(all, "entry", "entries"),
                   shared == 1 ? "is" : "are", refusal),
       object);
  if (!manner().json) line(textOf(judgement.leaving));
}

// A label may be on a path at which nothing is: that is neither shared nor held back.
std::size_t entryAt(const folder_host::WorkingCopy& copy, const std::string& path, const std::string& named) {
  if (const auto index = copy.table().find(path)) return *index;
  throw noEntry(copy.root(), copy.table(), path, named);
}

// "'drafts/' is shared: no filter of profile 'public' selects it"
std::string answer(const Judgement& judgement, const Entry& entry, const Reason& reason, const Spared* spared) {
  const std::string profile = "profile " + inQuotes(judgement.name);
  const std::string name = inQuotes(nameOf(entry));
  if (reason.rule != Reason::Rule::none) {
    return fmt::format("{} is held back: {}, {}", name, profile, textOf(judgement, reason));
  }
  if (spared != nullptr) return fmt::format("{} is shared: {}, {}", name, profile, textOf(judgement, *spared));
  return fmt::format("{} is shared: no filter of {} selects it", name, profile);
}

}  // namespace

// What speaks against a share comes behind the tree, which may be long: people read the end.
void previewProfile(const std::string& word, const ViewWords& words, const GateWords& gate) {
  const FolderProject project = openProject();
  ViewWords located = words;
  for (std::string& path : located.paths) path = project.locate(path);
  const auto copy = project.workingCopy();
  setScope(project, gate, *copy);
  const auto profile = findProfile(*managerOf(*copy), word);
  for (std::size_t i = 0; i < words.paths.size(); ++i) entryAt(*copy, located.paths[i], words.paths[i]);
  const Judgement judgement = judge(*copy, *profile);
  printTree(*copy, judgement, located);
  for (std::size_t i = 1; i <= judgement.filters.size(); ++i) printFilter(judgement, i);
  printSkipped(copy->listing());
  printNotes(judgement.found.notes);
  printRisks(judgement.found.risks);
  printSummary(*copy, judgement);
}

void explainPath(const std::string& named, const std::string& word) {
  const FolderProject project = openProject();
  // A path outside of the project is refused before time is spent on listing it.
  const std::string path = project.locate(named);
  const auto copy = project.workingCopy();
  const Judgement judgement = judge(*copy, *findProfile(*managerOf(*copy), word));
  const std::size_t index = entryAt(*copy, path, named);
  const Entry& entry = copy->table()[index];
  const Reason& reason = judgement.reasons[index];
  const Spared* spared = sparedOf(judgement, entry);
  Json object = jsonLine(*copy, judgement, index);
  object["profile"] = {{"uuid", utf8(judgement.uuid)}, {"name", utf8(judgement.name)}};
  item(answer(judgement, entry, reason, spared), object);
  if (manner().json) return;
  for (const std::string& label : labelTextsOf(*copy, index)) line("label  " + label);
  for (const std::string& label : Exceptions(*copy, judgement).of(index)) line(label);
}

}  // namespace project_share
