#include "output/EditReport.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <utility>

#include "folder_host/store/Blob.h"
#include "folder_host/store/NodeKey.h"
#include "folder_host/text/Utf.h"
#include "output/Output.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/StoredNodes.h"

namespace project_share {

using folder_host::Edit;
using folder_host::LabelRecord;
using folder_host::StoreTable;
using project::metadata::MetadataPath;

namespace {

std::string shownBlob(const std::string& blob) { return folder_host::toBytes(folder_host::fromBlob(blob)); }

// Of a value or a node; of what is no key, the root.
MetadataPath pathOf(const folder_host::Change& change) {
  const auto& row = change.row;
  const bool isValue = change.table == StoreTable::nodeValue;
  return folder_host::pathOfNodeKey(isValue ? row[0] : folder_host::childKeyOf(row[0], row[1], row[2]))
      .value_or(MetadataPath());
}

std::string markText(const std::string& label, const std::string& path, const std::string& kind) {
  const std::string place = inQuotes(path.empty() ? "./" : path);
  if (kind == "2") return fmt::format("exception of {} from {}", place, label);
  return fmt::format("mark {} on {}{}", label, place, kind == "1" ? " and all below" : "");
}

}  // namespace

// The names of now come last, and so stand.
EditTexts::EditTexts(const std::vector<Edit>& edits, const std::vector<LabelRecord>& labels) {
  for (const Edit& edit : edits) {
    for (const folder_host::Change& change : edit.changes) {
      const auto& row = change.row;
      if (change.table == StoreTable::category) categories_[row[0]] = shownBlob(row[1]);
      if (change.table == StoreTable::label) labels_[row[0]] = categories_[row[1]] + "/" + shownBlob(row[2]);
      if (change.table != StoreTable::nodeValue) continue;
      const MetadataPath node = pathOf(change);
      if (kindOf(node) == NodeKind::profile) profiles_[node.getLeaf().getLocation()] = shownBlob(row[2]);
    }
  }
  for (const LabelRecord& label : labels) labels_[folder_host::toBlob(label.uuid)] = nameOf(label);
}

std::string EditTexts::labelNamed(const std::string& uuid) const {
  const auto found = labels_.find(uuid);
  return freeName(found != labels_.end() ? found->second : shownBlob(uuid));
}

// Profiles as people know them; what another program keeps in the metadata, by its place.
ChangeText EditTexts::textOfNode(const folder_host::Change& change) const {
  const bool isValue = change.table == StoreTable::nodeValue;
  const MetadataPath path = pathOf(change);
  const auto& elements = path.getElements();
  const NodeKind kind = kindOf(path);
  const auto told = [&](bool isTold, const char* what, const std::string& text) {
    return ChangeText{change.isPut, isTold ? what : "", text};
  };
  const auto location = [&](std::size_t at) { return folder_host::toBytes(elements[at].getLocation()); };
  if (kind == NodeKind::settled) {
    return told(isValue, "settled file",
                fmt::format("{} may be shared with the content that it had", inQuotes(location(1))));
  }
  // What people name a profile by is its name, and what they know of an item is its label.
  if (kind == NodeKind::profile) {
    const bool isName = isValue && change.row[1] == folder_host::toBlob(u"Name");
    return told(isName, "profile", "profile " + inQuotes(isName ? shownBlob(change.row[2]) : location(1)));
  }
  if (kind == NodeKind::filter || kind == NodeKind::item) {
    const auto found = profiles_.find(elements[1].getLocation());
    const std::string filter = fmt::format("filter {} of profile {}", wordOf(elements[2].getLocation()),
                                           inQuotes(found != profiles_.end() ? found->second : location(1)));
    if (kind == NodeKind::filter) return told(!isValue, "filter", filter);
    const std::string label = labelNamed(folder_host::toBlob(elements[3].getLocation()));
    return told(!isValue, "filter label", fmt::format("{} in {}", label, filter));
  }
  std::string place;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    place += fmt::format("/{}:{}", folder_host::toBytes(elements[i].getType()), location(i));
  }
  const std::string of = isValue ? fmt::format("value {} of ", inQuotes(shownBlob(change.row[1]))) : "";
  return told(true, "value", of + inQuotes(place));
}

ChangeText EditTexts::textOf(const folder_host::Change& change) const {
  const auto& row = change.row;
  switch (change.table) {
    case StoreTable::category:
      return {change.isPut, "category", "category " + inQuotes(shownBlob(row[1]))};
    case StoreTable::label: {
      const auto category = categories_.find(row[1]);
      const std::string known = labelNamed(row[0]);
      const std::string name = category != categories_.end() ? category->second : known.substr(0, known.find('/'));
      return {change.isPut, "label",
              fmt::format("label {}{}", freeName(name + "/" + shownBlob(row[2])), row[3] == "1" ? ", protected" : "")};
    }
    case StoreTable::mark:
      return {change.isPut, row[2] == "2" ? "exception" : "mark", markText(labelNamed(row[1]), row[0], row[2])};
    case StoreTable::rule:
      return {change.isPut, "rule", fmt::format("rule {} of {}", inQuotes(row[2]), labelNamed(row[0]))};
    case StoreTable::node:
    case StoreTable::nodeValue:
      break;
  }
  return textOfNode(change);
}

std::vector<ChangeText> EditTexts::changesOf(const Edit& edit) const {
  std::vector<ChangeText> texts;
  for (const folder_host::Change& change : edit.changes) {
    if (folder_host::isTopNode(change)) continue;
    ChangeText text = textOf(change);
    if (!text.kind.empty()) texts.push_back(std::move(text));
  }
  return texts;
}

std::string EditTexts::sumOf(const Edit& edit) const {
  std::map<std::string, std::array<std::size_t, 2>> counts;
  for (const ChangeText& text : changesOf(edit)) ++counts[text.kind][text.isAdded ? 1 : 0];
  std::string sum;
  for (const auto& [kind, count] : counts) {
    for (const std::size_t sign : {0U, 1U}) {
      if (count[sign] == 0) continue;
      sum += fmt::format("{}{}{}", sum.empty() ? "" : ", ", sign == 0 ? "-" : "+",
                         counted(count[sign], kind.c_str(), (kind == "category" ? "categories" : kind + "s").c_str()));
    }
  }
  return sum.empty() ? "nothing in the store" : sum;
}

std::string authorOf(const std::string& user, const std::string& machine) {
  return freeName(machine.empty() ? user : user + "@" + machine);
}

// A stranger's log may have any number for a time.
std::string timeText(std::int64_t milliseconds) {
  constexpr std::int64_t LAST = 253402300799;  // of the year 9999
  const auto seconds = static_cast<std::time_t>(std::clamp(milliseconds / 1000, std::int64_t{0}, LAST));
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(seconds));
}

}  // namespace project_share
