#include "FlatHost.h"

#include "project/metadata/MetadataManager.h"

namespace bench {

using fl::filesystem::path;
using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

namespace {

std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace

FlatHost::FlatHost(std::size_t entries, std::size_t depth)
    : label_(CategoryIdentifier(u"c"), LabelIdentifier(u"selected")) {
  std::string folder;
  for (std::size_t i = 0; i < entries / 2; ++i) {
    folder = (i % depth == 0 ? "/p" : folder) + "/folder" + std::to_string(i) + "d";
    entries_.emplace_back(wide(folder), true);
    entries_.emplace_back(wide(folder + "/file"), true);
    labels_.emplace_back(wide("label" + std::to_string(i)));
  }
}

FlatHost::~FlatHost() = default;

void FlatHost::callAsAFilterMust() {
  const std::vector<path> entries = getFiles();
  getRootFolder();
  for (const path& entry : entries) {
    if (getFileLabels(entry).empty()) isFolder(entry);
  }
  removeFiles({});
}

void FlatHost::callAsALabelFilterMust() const {
  for (const CategoryIdentifier& category : getCategories()) {
    for (const LabelIdentifier& label : getLabels(category)) {
      const std::pair<std::u16string, std::u16string> item(category.toString(), label.getUUID());
      if (label.isRemovable() == 0 || item.first.empty()) continue;
    }
  }
}

std::vector<FileLabel> FlatHost::getFileLabels(const path& entry) {
  return isFolder(entry) ? std::vector<FileLabel>{label_} : std::vector<FileLabel>();
}

}  // namespace bench
