#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "project/management/LabelManager.h"

namespace folder_host {

class Store;

// One label as people know it. Names may change and repeat; the UUIDs never do.
struct LabelRecord {
  std::u16string uuid;
  std::u16string name;
  std::u16string categoryUUID;
  std::u16string categoryName;
  bool kept = false;  // no filter may remove it
};

// The labels of one project and the entries that they are attached to, in the project's store. A category's
// identifying text is its UUID. Paths are relative to the project's folder, as bytes; that there is such an entry is
// the caller's concern. Every change is atomic by itself; open a write scope of the store around several.
class LabelStore : public project::management::LabelManager {
 public:
  explicit LabelStore(std::shared_ptr<Store> store);
  ~LabelStore() override;

  // By UUID; with categories that hold no label.
  std::vector<project::management::CategoryIdentifier> getCategories() const override;
  // Its labels go with it.
  void removeCategory(const project::management::CategoryIdentifier& category) override;
  // By UUID.
  std::vector<project::management::LabelIdentifier> getLabels(
      const project::management::CategoryIdentifier& category) const override;
  // Detaches the label from every entry, whatever the flag.
  void removeLabel(const project::management::CategoryIdentifier& category,
                   const project::management::LabelIdentifier& label, bool flag) override;

  // Every label, sorted by category name, name, UUID (code-unit order).
  std::vector<LabelRecord> list() const;

  // Makes the label, and its category where there is none of that name (of several: the one with the least UUID).
  // Errors: NAME_EMPTY, LABEL_NAME_TAKEN.
  LabelRecord create(const std::u16string& categoryName, const std::u16string& name);

  // Gives the label another name in its category. Errors: NAME_EMPTY; LABEL_NAME_TAKEN by another label;
  // LABEL_NOT_FOUND.
  void rename(const std::u16string& labelUUID, const std::u16string& name);

  // Whether filters may not remove the label from a copy. Error: LABEL_NOT_FOUND.
  void setKept(const std::u16string& labelUUID, bool kept);

  // Takes the label off every path and removes it, and its category when that is empty then. Error: LABEL_NOT_FOUND.
  void erase(const std::u16string& labelUUID);

  // The number of paths that were not labelled so before; a path given twice counts once. Errors: LABEL_NOT_FOUND.
  std::size_t attach(const std::u16string& labelUUID, const std::vector<std::string>& paths);
  // The number of paths that were labelled so.
  std::size_t detach(const std::u16string& labelUUID, const std::vector<std::string>& paths);

  // Of one entry, by label UUID; none for an unknown path.
  std::vector<project::management::FileLabel> labelsOf(const std::string& path) const;
  // Every path that the label is attached to, entry or not, sorted by bytes.
  std::vector<std::string> pathsOf(const std::u16string& labelUUID) const;
  // Of all labels: each path with the UUID of a label, sorted by both.
  std::vector<std::pair<std::string, std::u16string>> attachments() const;

 private:
  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
