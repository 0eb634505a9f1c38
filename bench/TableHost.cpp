#include "TableHost.h"

#include <utility>

namespace bench {

using fl::filesystem::path;
using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;
using project::sharing::profiles::EXCLUDE_LABEL;
using project::sharing::profiles::INCLUDE_LABEL;

namespace {

std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace

TableHost::TableHost(const Shape& shape) {
  shape.kind == EXCLUDE_LABEL || shape.kind == INCLUDE_LABEL ? addLabels(shape) : addTree(shape);
}

TableHost::~TableHost() = default;

void TableHost::addTree(const Shape& shape) {
  constexpr std::size_t OF_A_FOLDER = 10;
  constexpr std::size_t DEPTH = 20;
  for (std::size_t number = 0; number < 2 * shape.items; ++number) {
    const auto item = itemOf(number);
    pool_.emplace_back(CategoryIdentifier(item.category), LabelIdentifier(item.labelUUID));
  }
  paths_.reserve(shape.entries);  // the index keeps views of the texts
  std::u16string folder;
  for (std::size_t i = 0; i < shape.entries; ++i) {
    if (i % OF_A_FOLDER != 0) {
      addEntry(shape, folder + u"/file-" + wide(std::to_string(i)) + u".txt", false);
      continue;
    }
    if (!shape.deep || i % (OF_A_FOLDER * DEPTH) == 0) folder = u"/p";
    folder += u"/dir-" + wide(std::to_string(i));
    addEntry(shape, folder, true);
  }
}

void TableHost::addEntry(const Shape& shape, std::u16string text, bool isFolder) {
  const std::size_t number = paths_.size();
  paths_.emplace_back(std::move(text), number % 2 == 0);
  index_.emplace(paths_.back().text(), number);
  Entry& entry = entries_.emplace_back();
  entry.isFolder = isFolder;
  const bool isListed = number / 3 % 2 == 0;  // in each folder some
  for (std::size_t i = 0; i < shape.labels; ++i) {
    const std::size_t drawn = (number * 7919 + i * 104729) % shape.items;
    entry.labels.push_back(static_cast<std::uint32_t>(isListed ? drawn : shape.items + drawn));
  }
}

void TableHost::addLabels(const Shape& shape) {
  for (std::size_t number = 0; number < shape.entries; ++number) {
    const auto item = itemOf(number);
    auto& labels = labels_[item.category];
    if (labels.empty()) categories_.emplace_back(item.category);
    labels.emplace_back(item.labelUUID);
  }
}

std::vector<FileLabel> TableHost::getFileLabels(const path& entry) {
  std::vector<FileLabel> labels;
  const Entry& known = at(entry);
  labels.reserve(known.labels.size());
  for (const std::uint32_t label : known.labels) labels.push_back(pool_[label]);
  return labels;
}

}  // namespace bench
