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
using project::metadata::MetadataPathBuilder;
using project::metadata::MetadataScopeGuard;

namespace {

MetadataPath itemPath(const MetadataPath& filter, const ExportStrategyItem& item) {
  MetadataPathBuilder builder;
  builder.add(filter);
  builder.add(FILTER_TYPE, item.labelUUID);
  return builder.build();
}

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
  load();
}

ExportProfileBase::~ExportProfileBase() = default;

void ExportProfileBase::load() {
  const MetadataScopeGuard scope = metadataManager->beginReadScope();
  for (const MetadataPath& filter : metadataManager->getChildPaths(profilePath(uuid))) {
    ExportProfileBase::addFilter(filter.getLeaf().getLocation(), loadItems(filter));
  }
}

std::vector<ExportStrategyItem> ExportProfileBase::loadItems(const MetadataPath& filter) const {
  std::vector<ExportStrategyItem> items;
  for (const MetadataPath& item : metadataManager->getChildPaths(filter)) {
    if (item.getLeaf().getType() != FILTER_TYPE) continue;
    const std::unique_ptr<MetadataNode> node = existingNode(item);
    items.emplace_back(node->getValue(DATA_KEY), item.getLeaf().getLocation());
  }
  return items;
}

std::vector<std::shared_ptr<ExportFilter>> ExportProfileBase::getFilters() const { return filters; }

std::shared_ptr<ExportFilter> ExportProfileBase::addFilter(const std::u16string& type,
                                                           const std::vector<ExportStrategyItem>& items) {
  // File filters run before label filters: they need the labels that the latter remove.
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
  const auto found = std::find(filters.begin(), filters.end(), filter);
  filters.erase(found != filters.end() ? found : std::prev(filters.end()));
}

void ExportProfileBase::apply(project::management::ProjectManager& projectManager) {
  for (const std::shared_ptr<ExportFilter>& filter : getFilters()) filter->apply(projectManager);
}

void ExportProfileBase::save() {
  const MetadataScopeGuard scope = metadataManager->beginWriteScope();
  // A copy, as the host may call back and edit this profile; made before the stored filters are removed, as it can
  // fail.
  const std::vector<std::shared_ptr<ExportFilter>> saved = filters;
  metadataManager->removeNodes(metadataManager->getChildPaths(profilePath(uuid)));
  for (const std::shared_ptr<ExportFilter>& filter : saved) saveFilter(*filter);
}

void ExportProfileBase::saveFilter(const ExportFilter& filter) {
  const MetadataPath path = filterPath(*this, filter.getType());
  writeNode(path, std::make_shared<MetadataNodeSpecification>());
  for (const ExportStrategyItem& item : filter.getItems()) {
    auto node = std::make_shared<MetadataNodeSpecification>();
    node->put(DATA_KEY, item.category);
    writeNode(itemPath(path, item), std::move(node));
  }
}

std::u16string ExportProfileBase::getName() const {
  metadataManager->beginReadScope();  // tells the host that a read comes; it ends before the read
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
