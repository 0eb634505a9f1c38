#include "output/EntryReport.h"

#include <fmt/format.h>

#include "output/LabelReport.h"
#include "output/Report.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::LabelSource;

EntryReport::EntryReport(const folder_host::WorkingCopy& project, const Judgement& judgement)
    : project_(project), judgement_(judgement), sources_(project.effective().sources()) {
  for (const FilterEffect& filter : judgement.filters) {
    if (!dropsFiles(filter.kind)) continue;
    for (const std::size_t label : filter.named) dropping_.insert(sources_.find(judgement.labels[label].uuid).value());
  }
}

std::vector<std::string> EntryReport::exceptionsOf(std::size_t entry) const {
  std::vector<std::string> texts;
  if (judgement_.reasons[entry].rule != Reason::Rule::none) return texts;
  const Entry& listed = project_.table()[entry];
  for (const std::size_t label : dropping_) {
    const auto source = sources_.sourceOf(listed.path, listed.kind == EntryKind::folder, label);
    if (source.kind == LabelSource::Kind::exception || source.kind == LabelSource::Kind::negatedRule) {
      texts.push_back(textOf(source, listed.path) + " from " + freeName(nameOf(sources_.labels()[label])));
    }
  }
  return texts;
}

std::string EntryReport::whenceOf(std::size_t entry) const {
  const Entry& listed = project_.table()[entry];
  std::set<std::string> whence;
  for (const std::size_t label : judgement_.reasons[entry].labels) {
    const auto index = sources_.find(judgement_.labels[label].uuid);
    const LabelSource source = sources_.sourceOf(listed.path, listed.kind == EntryKind::folder, index.value());
    if (source.gives() && source.at + source.pattern != listed.path) whence.insert(textOf(source, listed.path));
  }
  return whence.empty() ? "" : fmt::format(" ({})", fmt::join(whence, ", "));
}

Json EntryReport::jsonOf(std::size_t entry) const {
  const Entry& listed = project_.table()[entry];
  const Reason& reason = judgement_.reasons[entry];
  Json object{{"type", "entry"}};
  object.update(project_share::jsonOf(listed));
  object["shared"] = reason.rule == Reason::Rule::none;
  if (reason.rule != Reason::Rule::none) object["reason"] = project_share::jsonOf(judgement_, reason);
  if (const Spared* spared = sparedOf(judgement_, listed)) {
    object["spared"] = project_share::jsonOf(judgement_, *spared);
  }
  object["labels"] = jsonOfLabels(project_, entry);
  return object;
}

}  // namespace project_share
