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
  bool isProtected = false;  // no filter may remove it
};

// A path, and the UUID of a label that it has.
using Attachment = std::pair<std::string, std::u16string>;

// The labels of one project and the entries that they are attached to, in the project's store. A category's
// identifying text is its UUID. Paths are relative to the project's folder, as bytes; whether there is such an entry is
// not looked at. Every change is atomic by itself; open a write scope of the store around several. Every call may throw
// STORE_FAILED and STORE_UNREADABLE.
class LabelStore : public project::management::LabelManager {
 public:
  explicit LabelStore(std::shared_ptr<Store> store);
  ~LabelStore() override;

  // Sorted by UUID; those without a label are among them.
  std::vector<project::management::CategoryIdentifier> getCategories() const override;
  // Removes its labels and their attachments, too. What is not there is no error, here and below.
  void removeCategory(const project::management::CategoryIdentifier& category) override;
  // Sorted by UUID.
  std::vector<project::management::LabelIdentifier> getLabels(
      const project::management::CategoryIdentifier& category) const override;
  // Removes its attachments, too; the flag makes no difference.
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

  // Says whether filters are kept from removing the label from a copy. Error: LABEL_NOT_FOUND.
  void setProtected(const std::u16string& labelUUID, bool isProtected);

  // Removes the label with its attachments, and its category where that has no other. Error: LABEL_NOT_FOUND.
  void erase(const std::u16string& labelUUID);

  // Gives the number of paths that did not have the label; a path given twice counts once. Error: LABEL_NOT_FOUND.
  std::size_t attach(const std::u16string& labelUUID, const std::vector<std::string>& paths);
  // Gives the number of paths that had the label; a path given twice counts once.
  std::size_t detach(const std::u16string& labelUUID, const std::vector<std::string>& paths);

  // The labels of one path, sorted by UUID; none of an unknown one.
  std::vector<project::management::FileLabel> labelsOf(const std::string& path) const;
  // Every path that has the label, sorted by bytes.
  std::vector<std::string> pathsOf(const std::u16string& labelUUID) const;
  // All of them, sorted by path and label.
  std::vector<Attachment> attachments() const;

  // The bytes of a store that holds these attachments, each once, of labels that are here; these labels and their
  // categories; and nothing else.
  std::string imageWith(const std::vector<Attachment>& attachments) const;

 private:
  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
