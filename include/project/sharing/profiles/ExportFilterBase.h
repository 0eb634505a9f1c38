#pragma once

#include <string>
#include <vector>

#include "project/sharing/profiles/ExportFilter.h"

namespace project::sharing::profiles {

// Holds a filter's kind and items; its apply does nothing. A filter that derives from this class reads its own kind and
// items by getType and getItems, so that these may be overridden.
class PROJECT_SHARING_PROFILES_EXPORT ExportFilterBase : public ExportFilter {
 public:
  // The filter has no items at first. The kind is not checked.
  explicit ExportFilterBase(std::u16string type);

  void apply(project::management::ProjectManager& projectManager) override;
  std::u16string getType() const override;
  void setType(const std::u16string& type) override;
  std::vector<ExportStrategyItem> getItems() const override;
  void addItems(const std::vector<ExportStrategyItem>& items) override;
  void removeItems(const std::vector<ExportStrategyItem>& items) override;
  ~ExportFilterBase() override;

 private:
  std::u16string type;
  std::vector<ExportStrategyItem> items;
};

}  // namespace project::sharing::profiles
