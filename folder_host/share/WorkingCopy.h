#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "folder_host/files/Listing.h"
#include "folder_host/share/HostRules.h"
#include "folder_host/store/LabelStore.h"
#include "folder_host/store/MetadataStore.h"
#include "project/management/ProjectManager.h"

namespace folder_host {

class EntryLabels;
class EntryTable;
class Store;

// The project that a transformation acts on: a private copy of the store in memory and the list of entries, taken
// together. Nothing that is done to it reaches the project's folder.
class WorkingCopy : public project::management::ProjectManager, private project::management::FileManager {
 public:
  WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const Listing> listing);
  ~WorkingCopy() override;
  WorkingCopy(const WorkingCopy&) = delete;
  WorkingCopy& operator=(const WorkingCopy&) = delete;

  // Another one in the same state; neither sees what is done to the other.
  std::shared_ptr<WorkingCopy> clone() const;

  LabelStore& getLabelManager() override;
  const LabelStore& labels() const { return labels_; }
  project::management::FileManager& getFileManager() override;
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override;

  // The project's folder: absolute, without links in it.
  const std::string& root() const;
  const Listing& listing() const;
  const EntryTable& table() const;

  // The entries that are left, in the order of the listing.
  std::vector<const Entry*> entries() const;
  // Those that are not.
  std::vector<const Entry*> gone() const;

  // Which entries of the listing, by index, carry a label.
  std::vector<bool> labelled();
  // Of an entry of the listing, whether it is left or not.
  std::vector<project::management::FileLabel> labelsOf(const Entry& entry);

  // The relative bytes of a path that getFiles gave; of any other path, empty.
  std::string relative(const fl::filesystem::path& entry) const;

  // Takes out what the host itself does not hand out: links that do not lead, inside the project, to something that
  // stays, and folders that held something, all of which went; what becomes so by that goes too. A folder that was
  // empty before stays. Gives each in the order of the listing.
  HostRemovals applyHostRules();

  // The labels that leave with the entries that are left, by UUID, each with the number of those that carry it. One
  // that is attached to nothing that is left does not leave.
  std::map<std::u16string, std::size_t> labelsThatLeave() const;

  // The bytes of a handed-out copy's store: the labels that leave, with their categories and their attachments to the
  // entries that are left; no metadata. No byte of anything else is in them. Errors: STORE_FAILED.
  std::string storeOfWhatIsLeft();

 private:
  std::vector<fl::filesystem::path> getFiles() override;
  fl::filesystem::path getRootFolder() override;
  std::vector<project::management::FileLabel> getFileLabels(const fl::filesystem::path& entry) override;
  bool isFolder(const fl::filesystem::path& entry) override;
  // Removes each entry and what lies below it. A file or a link below that is not itself listed:
  // SHARED_BELOW_HELD_BACK, and nothing is removed. Gives what was removed, in the order of the listing.
  std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>& entries) override;

  WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const EntryTable> table,
              std::vector<bool> gone);

  std::optional<std::size_t> find(const fl::filesystem::path& entry) const;
  std::vector<const Entry*> entriesThatAre(bool gone) const;
  std::vector<std::pair<std::string, std::u16string>> attachmentsThatLeave() const;
  fl::filesystem::path pathOf(std::size_t entry) const;
  std::vector<bool> withAllBelow(const std::vector<fl::filesystem::path>& entries) const;

  std::string root_;
  std::u16string prefix_;  // of the text of every entry
  std::shared_ptr<Store> store_;
  std::shared_ptr<const EntryTable> table_;  // shared with clones
  std::vector<bool> gone_;                   // by the table's indices
  std::shared_ptr<MetadataStore> metadata_;
  LabelStore labels_;
  std::unique_ptr<const EntryLabels> entryLabels_;
  std::optional<int> entryLabelsOf_;  // this version of the store
};

}  // namespace folder_host
