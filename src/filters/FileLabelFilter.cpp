#include "filters/FileLabelFilter.h"

#include <algorithm>
#include <utility>

#include "filters/ItemLookup.h"
#include "filters/NeededFolders.h"
#include "project/management/ProjectManager.h"

namespace project::sharing::profiles {

using fl::filesystem::path;
using project::management::FileLabel;
using project::management::FileManager;

namespace {

struct Selected {
  path entry;
  NeededFolders::Mark mark;
};

}  // namespace

FileLabelFilter::FileLabelFilter(std::u16string filterType) : ExportFilterBase(std::move(filterType)) {}

FileLabelFilter::~FileLabelFilter() = default;

bool FileLabelFilter::selects(const std::vector<FileLabel>& labels, const ItemLookup& listed,
                              bool selectsListed) const {
  // The kind is asked for here, at the entry that it decides on: a host may change it while it is called, and what it
  // changes in a filter counts.
  if ((labels.empty() || listed.empty()) && getType() == INCLUDE_FILES_WITH_LABEL) return true;
  return std::any_of(labels.begin(), labels.end(),
                     [&](const FileLabel& label) { return listed.contains(label) == selectsListed; });
}

// Items name labels by text, and which entries have those labels is asked of the host now: the filter remembers nothing
// of a project that could have changed. Hosts rely on the order of these calls. All memory is allocated, and all
// questions are asked, before the one call that removes: whatever fails earlier leaves the project as it was.
void FileLabelFilter::apply(project::management::ProjectManager& projectManager) {
  const KeyedHash hash;
  const ItemLookup listed(getItems(), hash);
  FileManager& manager = projectManager.getFileManager();
  std::vector<path> entries = manager.getFiles();
  NeededFolders needed(manager.getRootFolder().text(), hash);
  const bool selectsListed = getType() == EXCLUDE_FILES_WITH_LABEL;

  std::vector<Selected> selected;
  selected.reserve(entries.size());
  for (path& entry : entries) {
    // Of a selected entry nobody asks whether it is a folder: it is spared where a file in it is shared.
    if (selects(manager.getFileLabels(entry), listed, selectsListed)) {
      const NeededFolders::Mark mark = needed.markOf(entry);
      selected.push_back({std::move(entry), mark});
    } else if (!manager.isFolder(entry)) {
      needed.needAncestorsOf(entry);
    }
  }

  // Only now is it known which folders are needed: the host lists in any order, a folder before or after its files.
  std::vector<path> removed;
  removed.reserve(selected.size());
  for (Selected& one : selected) {
    if (!needed.spare(one.entry, one.mark)) removed.push_back(std::move(one.entry));
  }
  manager.removeFiles(removed);
}

}  // namespace project::sharing::profiles
