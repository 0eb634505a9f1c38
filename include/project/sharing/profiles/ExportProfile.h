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

// A stored rule that says what is stripped from a copy of a project. The name may change and repeat; the UUID does not.
// The filters are read from the metadata when the object is made, changed in memory, and written by save; the name is
// read and written in the metadata on every call. Two objects of one profile do not see each other's unsaved filters:
// the later save wins wholly. A stored filter of a kind that is none is not read: it strips nothing, and the next save
// deletes it. A profile outlives its manager. It is used by one thread at a time. Where the host edits the list of
// filters while it is called, save and apply go on with the list that they took; what it changes in a filter counts.
// What the host throws passes through every operation as it is, and nothing is undone but by the host's scopes.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfile {
 public:
  ExportProfile() = default;
  ExportProfile(const ExportProfile&) = delete;
  ExportProfile& operator=(const ExportProfile&) = delete;

  // A copy of the list, in the order of application. The filters are shared with the profile; one that is taken out of
  // the profile lives on with whoever holds it, and is not saved any more.
  virtual std::vector<std::shared_ptr<ExportFilter>> getFilters() const = 0;

  // A file filter comes first in the list, a label filter last; a type that is no kind gives an empty pointer. In
  // memory only; where it throws, the list is as it was.
  virtual std::shared_ptr<ExportFilter> addFilter(const std::u16string& type,
                                                  const std::vector<ExportStrategyItem>& items) = 0;

  // Takes out this very object. Mind: for one that is not in the list, an empty pointer included, the last filter of
  // the list is taken out instead. So removeFilter(addFilter(u"typo", {})) destroys another rule. On an empty list
  // nothing happens. In memory only.
  virtual void removeFilter(const std::shared_ptr<ExportFilter>& filter) = 0;

  // Applies each filter that this object has, saved or not, in order, up to the first that throws. It strips the very
  // project that is given, which therefore is a working copy.
  virtual void apply(project::management::ProjectManager& projectManager) = 0;

  // Replaces the stored filters by those of this object, in one write scope. The type of a filter and the label UUID of
  // an item are their places in the store: the items of filters of one type are stored together, of items of one UUID
  // the last one is stored, and a filter whose type is no kind is not found again. File filters are read back in the
  // reverse of the order in which the host lists them.
  // Where it throws, the old filters may be removed and the new ones half written, unless the host undoes the scope.
  // Not to be called for a deleted profile. If it has filters, the profile comes back without a name: where the host
  // throws for a value that is not there (MetadataNode::getValue), listings that read the name then fail, until
  // deleteProfile is called with an object of this profile. Without filters nothing comes back.
  virtual void save() = 0;

  // std::out_of_range where the profile has been deleted; what the host throws where the name is not there.
  virtual std::u16string getName() const = 0;

  // Lives as long as the profile.
  virtual const std::u16string& getUUID() const = 0;

  // Any text is taken, one that another profile has included. std::out_of_range where the profile has been deleted.
  virtual void setName(const std::u16string& name) = 0;

  virtual ~ExportProfile();
};

}  // namespace project::sharing::profiles
