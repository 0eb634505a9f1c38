#pragma once

#include <memory>
#include <string>
#include <vector>

#include "project/metadata/MetadataManager.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project::sharing::profiles {

class ExportFilter;

// A profile in one project's metadata.
class ExportProfileBase final : public ExportProfile {
 public:
  // Loads the stored filters, in a read scope of its own. Passes over what it does not know: a filter of a type that is
  // no kind, and an item's node of another type.
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
  std::vector<ExportStrategyItem> loadItems(const project::metadata::MetadataPath& filter) const;
  void saveFilter(const ExportFilter& filter);
  std::unique_ptr<project::metadata::MetadataNode> existingNode(const project::metadata::MetadataPath& path) const;
  void writeNode(const project::metadata::MetadataPath& path, std::shared_ptr<project::metadata::MetadataNode> node);

  std::u16string uuid;
  std::shared_ptr<project::metadata::MetadataManager> metadataManager;
  std::vector<std::shared_ptr<ExportFilter>> filters;
};

}  // namespace project::sharing::profiles
