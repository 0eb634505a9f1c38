#include "output/Report.h"

#include <fmt/format.h>

#include <algorithm>

#include "output/Output.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

std::string namesOf(const Judgement& judgement, std::vector<std::size_t> labels) {
  std::sort(labels.begin(), labels.end());  // as they are listed, by name
  std::string names;
  for (const std::size_t label : labels)
    names += (names.empty() ? "" : ", ") + freeName(nameOf(judgement.labels[label]));
  return names;
}

namespace {

// Why the filter selects what carries these labels.
std::string selection(const Judgement& judgement, std::size_t filter, const std::vector<std::size_t>& labels) {
  const std::string begin = nameOfFilter(judgement, filter) + ": ";
  if (labels.empty()) return begin + "without a label";
  // Under keep-files, what holds an entry back is a label that the filter does not list.
  const bool keeps = keepsFiles(judgement.filters[filter - 1].kind);
  return begin + (keeps ? "not listed: " : "") + namesOf(judgement, labels);
}

}  // namespace

std::string textOf(const Judgement& judgement, const Reason& reason) {
  switch (reason.rule) {
    case Reason::Rule::none:
      return {};
    case Reason::Rule::filter:
      return selection(judgement, reason.filter, reason.labels) +
             (reason.from == nullptr || reason.from->empty()
                  ? ""
                  : fmt::format(" (by the labels that it had as {})", inQuotes(*reason.from)));
    case Reason::Rule::folder:
      return nameOfFilter(judgement, reason.filter) + ": lies in a folder that is held back";
    case Reason::Rule::link:
      return "a link to what is not handed out";
    case Reason::Rule::emptied:
      return "nothing in it is shared";
    case Reason::Rule::outside:
      return "outside of the folder that is shared";
  }
  return {};
}

std::string textOf(const Judgement& judgement, const Spared& spared) {
  return fmt::format("{}, but {} below it is shared", selection(judgement, spared.filter, spared.labels),
                     inQuotes(spared.because->path));
}

Json jsonOf(const Judgement& judgement, const Reason& reason) {
  if (reason.rule == Reason::Rule::link) return {{"rule", "link"}};
  if (reason.rule == Reason::Rule::emptied) return {{"rule", "emptied"}};
  if (reason.rule == Reason::Rule::outside) return {{"rule", "outside"}};
  const bool byFolder = reason.rule == Reason::Rule::folder;
  Json object{{"rule", byFolder ? "folder" : "filter"},
              {"filter", reason.filter},
              {"kind", wordOf(judgement.filters[reason.filter - 1].kind)}};
  object["labels"] = Json::array();
  for (const std::size_t label : reason.labels) object["labels"].push_back(jsonOf(judgement.labels[label]));
  if (reason.from != nullptr && !reason.from->empty()) putPath(object, "from", *reason.from);
  return object;
}

Json jsonOf(const Judgement& judgement, const Spared& spared) {
  Json object = jsonOf(judgement, Reason{Reason::Rule::filter, spared.filter, spared.labels});
  putPath(object, "because", spared.because->path);
  return object;
}

// All entries stand in one array, so their addresses are in the order of the listing.
const Spared* sparedOf(const Judgement& judgement, const folder_host::Entry& entry) {
  const auto spared = std::lower_bound(judgement.spared.begin(), judgement.spared.end(), &entry,
                                       [](const Spared& one, const folder_host::Entry* e) { return one.folder < e; });
  return spared != judgement.spared.end() && spared->folder == &entry ? &*spared : nullptr;
}

std::array<std::size_t, 3> countsByKind(const Entries& entries) {
  std::array<std::size_t, 3> counts{};
  for (const folder_host::Entry* entry : entries) ++counts[static_cast<std::size_t>(entry->kind)];
  return counts;
}

std::string textOfFilter(const Judgement& judgement, std::size_t position) {
  const FilterEffect& effect = judgement.filters[position - 1];
  const std::string begin = nameOfFilter(judgement, position) + ": ";
  if (!isFileKind(effect.kind)) {
    return begin + (effect.labelsRemoved.empty() ? "no label removed"
                                                 : "labels removed: " + namesOf(judgement, effect.labelsRemoved));
  }
  const auto [files, folders, links] = countsByKind(effect.heldBack);
  return begin + fmt::format("{}, {} and {} held back, {} spared", counted(files, "file", "files"),
                             counted(folders, "folder", "folders"), counted(links, "link", "links"),
                             counted(effect.spared.size(), "folder", "folders"));
}

void printRisks(const std::vector<Risk>& risks, const std::string& prefix, const Json& more) {
  for (const auto& risk : risks) {
    Json object = jsonOf(risk);
    object.update(more);
    item(fmt::format("{}{}: {}", prefix, risk.identifier, messageOf(risk)), object, Tone::warning);
  }
}

void printNotes(const std::vector<Risk>& notes, const std::string& prefix, const Json& more) {
  Json note{{"type", "note"}};
  note.update(more);
  printRisks(notes, prefix, note);
}

std::string scopeText(const folder_host::WorkingCopy& copy) {
  const std::string project = "the project " + inQuotes(copy.root());
  return copy.scopePath().empty() ? project : fmt::format("{} of {}", inQuotes(copy.scopePath() + "/"), project);
}

void putScope(Json& object, const folder_host::WorkingCopy& copy) {
  putPath(object, "project", copy.root());
  if (!copy.scopePath().empty()) putPath(object, "from", copy.scopePath());
}

std::string textOf(const std::vector<LeavingLabel>& leaving) {
  if (leaving.empty()) return "No label leaves with the copy.";
  std::string names;
  for (const auto& [label, entries] : leaving) {
    names += fmt::format("{} {} on {}", names.empty() ? "" : ",", inQuotes(nameOf(label)),
                         counted(entries, "entry", "entries"));
  }
  return fmt::format("Labels that leave with the copy:{}.", names);
}

Json jsonOf(const std::vector<LeavingLabel>& leaving) {
  Json labels = Json::array();
  for (const auto& [label, entries] : leaving) {
    labels.push_back(jsonOf(label));
    labels.back()["entries"] = entries;
  }
  return labels;
}

std::vector<LabelCounts> countsOf(const folder_host::LabelSources& sources) {
  std::vector<LabelCounts> counts(sources.labels().size());
  for (const auto& [place, kind] : sources.marks()) {
    LabelCounts& count = counts[place.second];
    ++(kind == folder_host::MarkKind::exception ? count.exceptions : count.paths);
  }
  for (const auto& rule : sources.rules()) ++counts[rule.label].rules;
  return counts;
}

std::string textOf(const LabelCounts& counts) {
  std::string text = counted(counts.paths, "path", "paths");
  if (counts.exceptions > 0) text += ", " + counted(counts.exceptions, "exception", "exceptions");
  if (counts.rules > 0) text += ", " + counted(counts.rules, "rule", "rules");
  return text;
}

Json jsonOf(const LabelCounts& counts) {
  return {{"paths", counts.paths}, {"exceptions", counts.exceptions}, {"rules", counts.rules}};
}

void printLabels(const std::vector<folder_host::LabelRecord>& labels, const folder_host::LabelSources& sources) {
  const std::vector<LabelCounts> all = countsOf(sources);
  for (const folder_host::LabelRecord& label : labels) {
    const LabelCounts& counts = all[sources.find(label.uuid).value()];
    Json object{{"type", "label"}};
    object.update(jsonOf(label));
    object.update(jsonOf(counts));
    item(fmt::format("{}{}  {}{}", uuidBefore(label.uuid), freeName(nameOf(label)), textOf(counts),
                     label.isProtected ? ", protected" : ""),
         object);
  }
}

void printSkipped(const folder_host::Listing& listing) {
  for (const std::string& path : listing.skipped) {
    Json object{{"type", "skipped"}};
    putPath(object, "path", path);
    item(fmt::format("skipped {}: no file, folder or link", inQuotes(path)), object);
  }
}

}  // namespace project_share
