#pragma once

#include <string>
#include <vector>

#include "project/sharing/profiles/ExportMacro.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::management {
class ProjectManager;
}

namespace project::sharing::profiles {

// One rule of a profile: a kind, and the labels that it is about. ExportProfile::addFilter makes filters; they are
// shared and never copied. A LabelFilter that is made by itself can be applied, but no profile takes it in. Reading
// from several threads at once is safe; changes need the caller's lock.
class PROJECT_SHARING_PROFILES_EXPORT ExportFilter {
 public:
  ExportFilter() = default;
  ExportFilter(const ExportFilter&) = delete;
  ExportFilter& operator=(const ExportFilter&) = delete;

  // Strips from the project what the kind and the items select; never changes the filter. What the host throws passes
  // through unchanged, and what was removed before stays removed.
  virtual void apply(project::management::ProjectManager& projectManager) = 0;

  virtual std::u16string getType() const = 0;

  // Any text is taken, one that is no kind included. The items are as they were. The object remains a label filter or a
  // file filter, as it was made (ExportStrategyItem.h says what it then does); once the profile is saved and read
  // again, the filter is what ExportProfile::addFilter makes of the type, if anything.
  virtual void setType(const std::u16string& type) = 0;

  // A copy: sorted, no item twice.
  virtual std::vector<ExportStrategyItem> getItems() const = 0;

  // Items that are there already, or are given twice, stay single. Where it throws, the items are as they were.
  virtual void addItems(const std::vector<ExportStrategyItem>& items) = 0;

  // One after the other. Mind: an item that is not there takes the last (greatest) one away instead; on an empty list
  // nothing happens.
  virtual void removeItems(const std::vector<ExportStrategyItem>& items) = 0;

  virtual ~ExportFilter();
};

}  // namespace project::sharing::profiles
