#include "words/Labels.h"

#include <fmt/format.h>

#include <algorithm>

#include "Refusal.h"
#include "folder_host/text/Utf.h"
#include "words/Names.h"

namespace project_share {

using folder_host::LabelRecord;

namespace {

constexpr Naming LABELS{"label", folder_host::errors::LABEL_NOT_FOUND, refusals::LABEL_AMBIGUOUS};

}  // namespace

std::string nameOf(const LabelRecord& label) { return folder_host::toBytes(label.categoryName + u"/" + label.name); }

profiles::ExportStrategyItem itemOf(const LabelRecord& label) { return {label.categoryUUID, label.uuid}; }

// At the first slash: a category made in this way has none in its name, and a label may have several.
std::pair<std::u16string, std::u16string> splitLabel(const std::string& word) {
  const std::size_t slash = word.find('/');
  if (slash == std::string::npos) {
    throw Refusal(refusals::LABEL_MALFORMED, fmt::format("{} is no label; write CATEGORY/NAME", inQuotes(word)));
  }
  return {folder_host::fromBytes(word.substr(0, slash)), folder_host::fromBytes(word.substr(slash + 1))};
}

std::string textOf(const NamedLabel& label) { return freeName(label.name) + (label.isDeleted ? "  (deleted)" : ""); }

LabelIndex::LabelIndex(std::vector<LabelRecord> records) : records_(std::move(records)) {
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const LabelRecord& label = records_[i];
    // What holds a slash reads as CATEGORY/NAME, and is that alone.
    const bool isShort = label.name.find(u'/') == std::u16string::npos;
    const bool isNameless = label.name.empty() && label.categoryName.empty();
    names_.add(isNameless ? std::u16string() : label.categoryName + u"/" + label.name,
               isShort ? label.name : std::u16string(), label.uuid);
    byUUID_.emplace(label.uuid, i);
  }
}

const LabelRecord& LabelIndex::named(const std::string& word, const std::string& more) const {
  return records_[names_.require(word, LABELS, more)];
}

void LabelIndex::requireOneMeaning(const std::string& word, const std::vector<std::string>& parts) const {
  if (!std::all_of(parts.begin(), parts.end(), [&](const std::string& part) { return isNamed(part); })) return;
  throw Refusal(refusals::LABEL_AMBIGUOUS,
                fmt::format("{} names a label, and each of its parts names one, too; give the option once for each "
                            "part, or for the whole the UUID {}",
                            inQuotes(word), inQuotes(named(word).uuid)));
}

std::vector<std::string> LabelIndex::split(const std::vector<std::string>& words) const {
  std::vector<std::string> labels;
  for (const std::string& word : words) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t comma = 0; (comma = word.find(',', begin)) != std::string::npos; begin = comma + 1) {
      parts.push_back(word.substr(begin, comma - begin));
    }
    parts.push_back(word.substr(begin));
    if (parts.size() > 1 && isNamed(word)) {
      requireOneMeaning(word, parts);
      parts = {word};
    }
    labels.insert(labels.end(), parts.begin(), parts.end());
  }
  return labels;
}

const LabelRecord* LabelIndex::find(const std::u16string& uuid) const {
  const auto found = byUUID_.find(uuid);
  return found != byUUID_.end() ? &records_[found->second] : nullptr;
}

// A filter goes by the category, too: a label of that UUID in another category is not the one that it selects by.
const LabelRecord* LabelIndex::find(const profiles::ExportStrategyItem& item) const {
  const LabelRecord* found = find(item.labelUUID);
  return found != nullptr && found->categoryUUID == item.category ? found : nullptr;
}

NamedLabel LabelIndex::named(const profiles::ExportStrategyItem& item) const {
  const LabelRecord* label = find(item);
  return {label != nullptr ? nameOf(*label) : folder_host::toBytes(item.labelUUID), label == nullptr};
}

std::vector<NamedLabel> LabelIndex::namedBy(const profiles::ExportFilter& filter) const {
  std::vector<NamedLabel> all;
  for (const auto& item : filter.getItems()) all.push_back(named(item));
  std::sort(all.begin(), all.end(), [](const NamedLabel& a, const NamedLabel& b) { return a.name < b.name; });
  return all;
}

}  // namespace project_share
