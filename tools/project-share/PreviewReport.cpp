#include "PreviewReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "Lookup.h"
#include "Output.h"

namespace project_share {

std::string nameOfFilter(const Preview& preview, std::size_t position) {
  return fmt::format("filter {}, {}", position, wordOf(preview.filters[position - 1].kind));
}

std::string namesOf(const Preview& preview, const std::vector<std::size_t>& labels) {
  std::string names;
  for (const std::size_t label : labels) names += (names.empty() ? "" : ", ") + nameOf(preview.labels[label]);
  return names.empty() ? "no label" : names;
}

std::string textOf(const Preview& preview, const Reason& reason) {
  switch (reason.rule) {
    case Reason::Rule::none:
      return {};
    case Reason::Rule::filter:
      return nameOfFilter(preview, reason.filter) + ": " + namesOf(preview, reason.labels);
    case Reason::Rule::link:
      return "a link to what is not handed out";
    case Reason::Rule::emptied:
      return "nothing left in it";
  }
  return {};
}

std::string textOf(const Preview& preview, const Spared& spared) {
  return fmt::format("{}: {}, selects it, but {} below it stays", nameOfFilter(preview, spared.filter),
                     namesOf(preview, spared.labels), shown(spared.because->path));
}

Json jsonOf(const Preview& preview, const Reason& reason) {
  if (reason.rule == Reason::Rule::link) return {{"rule", "link"}};
  if (reason.rule == Reason::Rule::emptied) return {{"rule", "emptied"}};
  Json object{{"rule", "filter"}, {"filter", reason.filter}, {"kind", wordOf(preview.filters[reason.filter - 1].kind)}};
  object["labels"] = Json::array();
  for (const std::size_t label : reason.labels) object["labels"].push_back(jsonOf(preview.labels[label]));
  return object;
}

Json jsonOf(const Preview& preview, const Spared& spared) {
  Json object = jsonOf(preview, Reason{Reason::Rule::filter, spared.filter, spared.labels});
  putPath(object, "because", spared.because->path);
  return object;
}

const Spared* sparedOf(const Preview& preview, const folder_host::Entry& entry) {
  const auto spared = std::lower_bound(preview.spared.begin(), preview.spared.end(), &entry,
                                       [](const Spared& one, const folder_host::Entry* e) { return one.folder < e; });
  return spared != preview.spared.end() && spared->folder == &entry ? &*spared : nullptr;
}

void printHazards(const std::vector<folder_host::Hazard>& hazards) {
  for (const auto& hazard : hazards) {
    item(asWarning(fmt::format("{}: {}", hazard.identifier, hazard.message)), jsonOf(hazard));
  }
}

void printLabel(const folder_host::LabelRecord& label, std::size_t paths) {
  Json object{{"type", "label"}};
  object.update(jsonOf(label));
  object["paths"] = paths;
  item(fmt::format("{}  {}  {}{}", shown(label.uuid), nameOf(label), counted(paths, "path", "paths"),
                   label.kept ? ", kept" : ""),
       object);
}

void printSkipped(const folder_host::Listing& listing) {
  for (const std::string& path : listing.skipped) {
    Json object{{"type", "skipped"}};
    putPath(object, "path", path);
    item(fmt::format("skipped {}: no file, folder or link", shown(path)), object);
  }
}

}  // namespace project_share
