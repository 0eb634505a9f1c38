#pragma once

#include <memory>
#include <string>
#include <vector>

#include "project/metadata/MetadataManager.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project::sharing::profiles {

class ExportFilter;

// A profile of one project's metadata.
class ExportProfileBase final : public ExportProfile {
 public:
  // Loads the stored filters, in a read scope of its own. What is not known is skipped: a filter of an unknown kind, an
  // item's node of another type.
  ExportProfileBase(const std::u16string& uuid, std::shared_ptr<project::metadata::MetadataManager> metadataManager);

  std::vector<std::shared_ptr<ExportFilter>> getFilters() const override;
  std::shared_ptr<ExportFilter> addFilter(const std::u16string& type,
                                          const std::vector<ExportStrategyItem>& items) override;
  void removeFilter(const std::shared_ptr<ExportFilter>& filter) override;
  void apply(project::management::ProjectManager& projectManager) override;
  void save() override;
  std::u16string getName() const override;
  const std::u16string& getUUID() const override;
  void setName(const std::u16string& name) override;
  ~ExportProfileBase() override;

 private:
  void load();
  std::vector<ExportStrategyItem> loadItems(const project::metadata::MetadataPath& filter) const;
  void saveFilter(const ExportFilter& filter);
  std::unique_ptr<project::metadata::MetadataNode> existingNode(const project::metadata::MetadataPath& path) const;
  void writeNode(const project::metadata::MetadataPath& path, std::shared_ptr<project::metadata::MetadataNode> node);

  std::u16string uuid;
  std::shared_ptr<project::metadata::MetadataManager> metadataManager;
  std::vector<std::shared_ptr<ExportFilter>> filters;
};

}  // namespace project::sharing::profiles
