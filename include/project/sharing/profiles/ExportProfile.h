#pragma once

#include <memory>
#include <string>
#include <vector>

#include "project/sharing/profiles/ExportMacro.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::management {
class ProjectManager;
}

namespace project::sharing::profiles {

class ExportFilter;

// A stored rule that says what is stripped from a copy of a project. The name may change and repeat; the UUID never
// does. The filters are read from the metadata when the object is made, changed in memory, and written by save; the
// name is read and written in the metadata on every call. Two objects of one profile do not see each other's unsaved
// filters: the later save wins wholly. A profile outlives its manager. Used by one thread at a time.
// What the host throws passes through every operation as it is, and nothing is undone but by the host's scopes.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfile {
 public:
  ExportProfile() = default;
  ExportProfile(const ExportProfile&) = delete;
  ExportProfile& operator=(const ExportProfile&) = delete;

  // In the order of application. The filters are shared with the profile.
  virtual std::vector<std::shared_ptr<ExportFilter>> getFilters() const = 0;

  // A file filter comes first in the list, a label filter last; a type that is no kind gives an empty pointer. In
  // memory only; where it throws, the list is as it was.
  virtual std::shared_ptr<ExportFilter> addFilter(const std::u16string& type,
                                                  const std::vector<ExportStrategyItem>& items) = 0;

  // Takes out this very object. Mind: a filter that is not in the list takes the last one away instead; on an empty
  // list nothing happens. In memory only.
  virtual void removeFilter(const std::shared_ptr<ExportFilter>& filter) = 0;

  // Applies each filter in order, up to the first that throws.
  virtual void apply(project::management::ProjectManager& projectManager) = 0;

  // Replaces the stored filters by those of this object, in one write scope. The type of a filter and the label UUID of
  // an item are their places in the store: of filters of one type the items are stored together, of items of one UUID
  // the last one stays, and a filter whose type is no kind is not found again. File filters are read back in the
  // reverse of the order in which the host lists them. Never of a deleted profile: it would come back without a name,
  // and every listing would fail on it.
  virtual void save() = 0;

  // std::out_of_range where the profile has been deleted.
  virtual std::u16string getName() const = 0;

  // Lives as long as the profile.
  virtual const std::u16string& getUUID() const = 0;

  // Any text is taken, one that another profile has included. std::out_of_range where the profile has been deleted.
  virtual void setName(const std::u16string& name) = 0;

  virtual ~ExportProfile();
};

}  // namespace project::sharing::profiles
