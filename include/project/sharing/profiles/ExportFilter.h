#pragma once

#include <string>
#include <vector>

#include "project/sharing/profiles/ExportMacro.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::management {
class ProjectManager;
}

namespace project::sharing::profiles {

// One rule of a profile: a kind, and the labels that it is about. ExportProfile::addFilter makes filters; a filter is
// never copied. A LabelFilter that a caller makes itself can be applied, but no profile takes it in. Several threads
// may read a filter at once; changes need the caller's lock.
class PROJECT_SHARING_PROFILES_EXPORT ExportFilter {
 public:
  ExportFilter() = default;
  ExportFilter(const ExportFilter&) = delete;
  ExportFilter& operator=(const ExportFilter&) = delete;

  // Strips from the project what the kind and the items select; never changes the filter. What the host throws passes
  // through unchanged, and what was removed before remains removed.
  virtual void apply(project::management::ProjectManager& projectManager) = 0;

  virtual std::u16string getType() const = 0;

  // Takes any text, one that is no kind included; the items do not change. The object remains the label filter or the
  // file filter that it was made as (ExportStrategyItem.h says what it then does). Once the profile is saved and read
  // again, the filter is what ExportProfile::addFilter makes of the type, if anything.
  virtual void setType(const std::u16string& type) = 0;

  // Gives a copy of the items: sorted, no item twice.
  virtual std::vector<ExportStrategyItem> getItems() const = 0;

  // Adds the items. One that is there already, or is given twice, is there once afterwards. Where this throws, the
  // items are as they were.
  virtual void addItems(const std::vector<ExportStrategyItem>& items) = 0;

  // Removes the items one after the other. Mind: for an item that is not there, the last (greatest) one is removed
  // instead. Where the filter has no items, nothing happens.
  virtual void removeItems(const std::vector<ExportStrategyItem>& items) = 0;

  virtual ~ExportFilter();
};

}  // namespace project::sharing::profiles
