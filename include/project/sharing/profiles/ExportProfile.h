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

// A stored rule that says what is stripped from a copy of a project. Its UUID never changes. Its name may change, and
// may be that of another profile.
// The filters are read from the metadata when the object is made, changed in memory, and written by save. The name is
// read and written in the metadata on every call. Two objects of one profile do not see each other's unsaved filters:
// the later save replaces all that the earlier one wrote. A stored filter whose type is no kind is not read: it strips
// nothing, and the next save deletes it.
// A profile outlives its manager. Only one thread may use it at a time. Where the host edits the list of filters while
// it is called, save and apply go on with the list that they took; what it changes in a filter counts.
// What the host throws passes through every operation as it is. Nothing is undone but by the host's scopes.
class PROJECT_SHARING_PROFILES_EXPORT ExportProfile {
 public:
  ExportProfile() = default;
  ExportProfile(const ExportProfile&) = delete;
  ExportProfile& operator=(const ExportProfile&) = delete;

  // Gives a copy of the list, in the order of application. The filters in it are the profile's own. One that is removed
  // from the profile lives on with whoever holds it, and is no longer saved.
  virtual std::vector<std::shared_ptr<ExportFilter>> getFilters() const = 0;

  // Makes a filter and puts it into the list, in memory only: a file filter at the beginning, a label filter at the
  // end. For a type that is no kind the pointer is empty, and the list does not change. Where this throws, the list is
  // as it was.
  virtual std::shared_ptr<ExportFilter> addFilter(const std::u16string& type,
                                                  const std::vector<ExportStrategyItem>& items) = 0;

  // Removes this very object from the list, in memory only. Mind: for an object that is not in the list, an empty
  // pointer included, the last filter is removed instead. So removeFilter(addFilter(u"typo", {})) destroys another
  // rule. Where the list is empty, nothing happens.
  virtual void removeFilter(const std::shared_ptr<ExportFilter>& filter) = 0;

  // Applies each filter of this object, saved or not, in order, up to the first that throws. The filters strip the very
  // project that is given, so it has to be a working copy.
  virtual void apply(project::management::ProjectManager& projectManager) = 0;

  // Replaces the stored filters by those of this object, in one write scope.
  // A filter is stored under its type, and an item under its label UUID. So the items of filters of one type are stored
  // together, of items of one UUID the last one is stored, and a filter whose type is no kind is not found again. File
  // filters are read back in the reverse of the order in which the host lists them.
  // Where this throws, the old filters may be removed and the new ones half written, unless the host undoes the scope.
  // This must not be called for a deleted profile. If it has filters, the profile comes back without a name: where the
  // host throws for an absent value (MetadataNode::getValue), listings that read the name then fail, until
  // deleteProfile is called with an object of this profile. Without filters nothing comes back.
  virtual void save() = 0;

  // Throws std::out_of_range where the profile has been deleted, and what the host throws where the name is absent.
  virtual std::u16string getName() const = 0;

  // The reference lives as long as this object.
  virtual const std::u16string& getUUID() const = 0;

  // Takes any text, the name of another profile included. Throws std::out_of_range where the profile has been deleted.
  virtual void setName(const std::u16string& name) = 0;

  virtual ~ExportProfile();
};

}  // namespace project::sharing::profiles
