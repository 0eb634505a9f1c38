#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/labels/EffectiveLabels.h"
#include "folder_host/labels/Followed.h"
#include "folder_host/share/HostRules.h"
#include "folder_host/store/LabelStore.h"
#include "folder_host/store/MetadataStore.h"
#include "folder_host/store/Position.h"
#include "project/management/ProjectManager.h"

namespace folder_host {

class Store;

// The project that a transformation acts on: a private copy of the store in memory and the list of entries, taken
// together. Nothing that is done to it reaches the project's folder.
class WorkingCopy : public project::management::ProjectManager, private project::management::FileManager {
 public:
  WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const Listing> listing,
              std::shared_ptr<const Memory> memory = std::make_shared<Memory>());
  ~WorkingCopy() override;
  WorkingCopy(const WorkingCopy&) = delete;
  WorkingCopy& operator=(const WorkingCopy&) = delete;

  // Another one in the same state; neither sees what is done to the other.
  std::shared_ptr<WorkingCopy> clone() const;
  // The same, in which the entries have the labels that they had (see Followed).
  std::shared_ptr<WorkingCopy> asItWas() const;

  LabelStore& getLabelManager() override;
  const LabelStore& labels() const { return labels_; }
  project::management::FileManager& getFileManager() override;
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override;

  // The project's folder: absolute, without links in it.
  const std::string& root() const;
  // The state of the store that was copied and, where that is on a server, its address as text. Other people may have
  // another folder with the same labels then: what is missing here need not be missing there.
  Position position() const;
  const std::string& address() const noexcept { return address_; }
  void setAddress(std::string address) { address_ = std::move(address); }
  const Listing& listing() const;
  const EntryTable& table() const;
  const std::shared_ptr<const EntryTable>& tableInCommon() const { return table_; }

  // The entries that are shared as things stand, in the order of the listing; at first, all.
  std::vector<const Entry*> entries() const;
  // Which entries of the listing are held back, by index.
  const Selection& heldBack() const noexcept { return heldBack_; }

  // Which labels the entries of the listing have as things stand, whether they are shared or held back.
  const EffectiveLabels& effective() const;
  // What became of what the project's folder remembers, by the labels as they stand when this is asked first. To be
  // asked before a transformation removes labels.
  const Followed& followed() const;
  const Memory& memory() const { return *memory_; }

  // The folder whose content becomes the copy, by its index; EntryTable::ROOT, as at first, is the project's own. It is
  // about what is handed out, and not about what is judged: a transformation sees the whole project.
  std::size_t scope() const noexcept { return scope_; }
  const std::string& scopePath() const;  // of the project's own: empty
  void setScope(std::size_t folder) noexcept { scope_ = folder; }
  // Of an entry in the scope, relative to it; valid as long as that path.
  std::string_view pathInCopy(std::string_view path) const {
    return path.substr(scopePath().empty() ? 0 : scopePath().size() + 1);
  }
  // The entries that lie in it, at any depth.
  Selection inScope() const;
  // Holds back what does not lie in the scope, the folder itself included, and then what the host does not hand out of
  // a copy that begins there: see applyHostRules.
  HostRemovals narrowToScope();

  // Holds these entries back as well. Of a folder that is held back by it, all that lies in it is.
  void holdBack(const Selection& entries);

  // The relative bytes of a path that getFiles gave; of any other path, empty.
  std::string relative(const fl::filesystem::path& entry) const;

  // Holds back what the host itself does not hand out: links that do not lead, inside the project, to something that is
  // shared, and folders that held something of which nothing is shared; and whatever becomes so by that. A folder that
  // was empty before is shared. Gives each in the order of the listing.
  HostRemovals applyHostRules();

  // The labels that leave with the entries that are shared, by UUID, each with the number of those that carry it. A
  // label that is attached to nothing that is shared does not leave.
  std::map<std::u16string, std::size_t> labelsThatLeave() const;

  // The bytes of a handed-out copy's store: the labels that leave, with their categories and their attachments to the
  // entries that are shared, by their paths in the scope; no metadata. No byte of anything else is in them. Errors:
  // STORE_FAILED.
  std::string storeOfWhatIsShared() const;

 private:
  std::vector<fl::filesystem::path> getFiles() override;
  fl::filesystem::path getRootFolder() override;
  std::vector<project::management::FileLabel> getFileLabels(const fl::filesystem::path& entry) override;
  bool isFolder(const fl::filesystem::path& entry) override;
  // Removes each entry and what lies below it. A file or a link below that is not itself listed:
  // SHARED_BELOW_HELD_BACK, and nothing is removed. Gives what was removed, in the order of the listing.
  std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>& entries) override;

  WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const EntryTable> table,
              std::shared_ptr<const Memory> memory);

  std::optional<std::size_t> find(const fl::filesystem::path& entry) const;
  std::optional<std::size_t> findNearby(std::u16string_view below) const;
  std::vector<Attachment> attachmentsThatLeave() const;
  fl::filesystem::path pathOf(std::size_t entry) const;
  Selection withAllBelow(const std::vector<fl::filesystem::path>& entries) const;

  std::string root_;
  std::string address_;
  std::u16string prefix_;  // of the text of every entry
  std::shared_ptr<Store> store_;
  std::shared_ptr<const EntryTable> table_;  // shared with clones
  Selection heldBack_;                       // by the table's indices
  mutable std::size_t latest_ = 0;           // the entry that was asked about last
  std::size_t scope_ = EntryTable::ROOT;
  std::shared_ptr<MetadataStore> metadata_;
  LabelStore labels_;
  std::shared_ptr<const Memory> memory_;  // shared with clones, and the next three
  std::shared_ptr<const LabelsByEntry> instead_;
  mutable std::shared_ptr<const Followed> followed_;
  mutable std::shared_ptr<const EffectiveLabels> effective_;
  mutable std::optional<int> effectiveOf_;  // this version of the store
};

}  // namespace folder_host
