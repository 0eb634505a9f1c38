#include "model/ExportProfileBase.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "filters/FileLabelFilter.h"
#include "model/StoredLayout.h"
#include "project/sharing/profiles/LabelFilter.h"

namespace project::sharing::profiles {

using project::metadata::MetadataManager;
using project::metadata::MetadataNode;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::MetadataScopeGuard;

namespace {

template <class Filter>
std::shared_ptr<ExportFilter> makeFilter(const std::u16string& type, const std::vector<ExportStrategyItem>& items) {
  auto filter = std::make_shared<Filter>(type);
  filter->addItems(items);
  return filter;
}

}  // namespace

ExportProfile::~ExportProfile() = default;

ExportProfileBase::ExportProfileBase(const std::u16string& profileUUID, std::shared_ptr<MetadataManager> manager)
    : uuid(profileUUID), metadataManager(std::move(manager)) {
  // The location of a filter's node is its type; addFilter makes nothing of one that is no kind.
  const MetadataScopeGuard scope = metadataManager->beginReadScope();
  for (const MetadataPath& filter : metadataManager->getChildPaths(profilePath(uuid))) {
    ExportProfileBase::addFilter(filter.getLeaf().getLocation(), loadItems(filter));
  }
}

ExportProfileBase::~ExportProfileBase() = default;

std::vector<ExportStrategyItem> ExportProfileBase::loadItems(const MetadataPath& filter) const {
  std::vector<ExportStrategyItem> items;
  for (const MetadataPath& item : metadataManager->getChildPaths(filter)) {
    if (item.getLeaf().getType() != FILTER_TYPE) continue;
    // An item that is listed and not there is damage: to pass over it would change what is shared.
    const std::unique_ptr<MetadataNode> node = existingNode(item);
    items.emplace_back(node->getValue(DATA_KEY), item.getLeaf().getLocation());
  }
  return items;
}

std::vector<std::shared_ptr<ExportFilter>> ExportProfileBase::getFilters() const { return filters; }

std::shared_ptr<ExportFilter> ExportProfileBase::addFilter(const std::u16string& type,
                                                           const std::vector<ExportStrategyItem>& items) {
  // File filters run before label filters: they decide by labels that a label filter may remove.
  if (type == INCLUDE_FILES_WITH_LABEL || type == EXCLUDE_FILES_WITH_LABEL) {
    return *filters.insert(filters.begin(), makeFilter<FileLabelFilter>(type, items));
  }
  if (type == INCLUDE_LABEL || type == EXCLUDE_LABEL) {
    return *filters.insert(filters.end(), makeFilter<LabelFilter>(type, items));
  }
  return nullptr;
}

void ExportProfileBase::removeFilter(const std::shared_ptr<ExportFilter>& filter) {
  if (filters.empty()) return;
  // The last filter in the place of an absent one is no slip: ExportProfile.h promises it.
  const auto found = std::find(filters.begin(), filters.end(), filter);
  filters.erase(found != filters.end() ? found : std::prev(filters.end()));
}

void ExportProfileBase::apply(project::management::ProjectManager& projectManager) {
  // Walks a copy, which getFilters gives: the host may call back and edit the list.
  for (const std::shared_ptr<ExportFilter>& filter : getFilters()) filter->apply(projectManager);
}

void ExportProfileBase::save() {
  const MetadataScopeGuard scope = metadataManager->beginWriteScope();
  // Walks a copy, as the host may call back and edit this profile. The copy is made before the stored filters are
  // removed, since it can fail. They are all removed, not only those that changed: the later save wins wholly.
  const std::vector<std::shared_ptr<ExportFilter>> saved = filters;
  metadataManager->removeNodes(metadataManager->getChildPaths(profilePath(uuid)));
  for (const std::shared_ptr<ExportFilter>& filter : saved) saveFilter(*filter);
}

void ExportProfileBase::saveFilter(const ExportFilter& filter) {
  // The filter's own node is written even without items, for a filter without items is a rule too.
  const MetadataPath path = filterPath(profilePath(uuid), filter.getType());
  writeNode(path, std::make_shared<MetadataNodeSpecification>());
  for (const ExportStrategyItem& item : filter.getItems()) {
    auto node = std::make_shared<MetadataNodeSpecification>();
    node->put(DATA_KEY, item.category);
    writeNode(filterPath(path, item.labelUUID), std::move(node));
  }
}

std::u16string ExportProfileBase::getName() const {
  metadataManager->beginReadScope();  // announces the read, and ends before it: the order of calls is fixed
  return existingNode(profilePath(uuid))->getValue(NAME_KEY);
}

const std::u16string& ExportProfileBase::getUUID() const { return uuid; }

void ExportProfileBase::setName(const std::u16string& name) {
  metadataManager->beginWriteScope();  // as in getName
  const MetadataPath path = profilePath(uuid);
  std::shared_ptr<MetadataNode> node = existingNode(path);
  node->setValue(NAME_KEY, name);
  writeNode(path, std::move(node));
}

std::unique_ptr<MetadataNode> ExportProfileBase::existingNode(const MetadataPath& path) const {
  std::unique_ptr<MetadataNode> node = metadataManager->getNode(path);
  if (!node) throw std::out_of_range("ExportProfile: the metadata has no such node");
  return node;
}

void ExportProfileBase::writeNode(const MetadataPath& path, std::shared_ptr<MetadataNode> node) {
  metadataManager->setNodes({{path, std::move(node)}});
}

}  // namespace project::sharing::profiles
