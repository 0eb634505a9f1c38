#include "folder_host/share/WorkingCopy.h"

#include <algorithm>
#include <set>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/labels/EntryLabels.h"
#include "folder_host/share/HostRules.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

using fl::filesystem::path;

WorkingCopy::WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const Listing> listing)
    : WorkingCopy(std::move(root), std::move(store), std::make_shared<const EntryTable>(std::move(listing)), {}) {}

WorkingCopy::WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const EntryTable> table,
                         std::vector<bool> gone)
    : root_(std::move(root)),
      prefix_(fromBytes(root_ == "/" ? root_ : root_ + "/")),
      store_(std::move(store)),
      table_(std::move(table)),
      gone_(std::move(gone)),
      metadata_(std::make_shared<MetadataStore>(store_)),
      labels_(store_) {
  gone_.resize(table_->size());
}

WorkingCopy::~WorkingCopy() = default;

std::shared_ptr<WorkingCopy> WorkingCopy::clone() const {
  return std::shared_ptr<WorkingCopy>(new WorkingCopy(root_, store_->memoryCopy(), table_, gone_));
}

LabelStore& WorkingCopy::getLabelManager() { return labels_; }

project::management::FileManager& WorkingCopy::getFileManager() { return *this; }

std::shared_ptr<project::metadata::MetadataManager> WorkingCopy::getMetadataManager() { return metadata_; }

const std::string& WorkingCopy::root() const { return root_; }

const Listing& WorkingCopy::listing() const { return table_->listing(); }

const EntryTable& WorkingCopy::table() const { return *table_; }

std::vector<const Entry*> WorkingCopy::entriesThatAre(bool gone) const {
  std::vector<const Entry*> entries;
  for (std::size_t i = 0; i < gone_.size(); ++i) {
    if (gone_[i] == gone) entries.push_back(&(*table_)[i]);
  }
  return entries;
}

std::vector<const Entry*> WorkingCopy::entries() const { return entriesThatAre(false); }

std::vector<const Entry*> WorkingCopy::gone() const { return entriesThatAre(true); }

std::vector<bool> WorkingCopy::labelled() { return EntryLabels(*table_, labels_).labelled(table_->size()); }

std::vector<project::management::FileLabel> WorkingCopy::labelsOf(const Entry& entry) {
  const std::optional<int> version = store_->version();
  if (!version) return labels_.labelsOf(entry.path);
  if (version != entryLabelsOf_) entryLabels_ = std::make_unique<EntryLabels>(*table_, labels_);
  entryLabelsOf_ = version;
  return entryLabels_->of(static_cast<std::size_t>(&entry - listing().entries.data()));
}

std::string WorkingCopy::relative(const path& entry) const {
  const std::u16string& text = entry.text();
  return text.compare(0, prefix_.size(), prefix_) == 0 ? toBytes(text.substr(prefix_.size())) : std::string();
}

HostRemovals WorkingCopy::applyHostRules() { return removeByHostRules(*table_, gone_); }

std::vector<std::pair<std::string, std::u16string>> WorkingCopy::attachmentsThatLeave() const {
  auto attachments = labels_.attachments();
  const auto stays = [&](const auto& attachment) {
    const auto entry = table_->find(attachment.first);
    return !entry || gone_[*entry];
  };
  attachments.erase(std::remove_if(attachments.begin(), attachments.end(), stays), attachments.end());
  return attachments;
}

std::map<std::u16string, std::size_t> WorkingCopy::labelsThatLeave() const {
  std::map<std::u16string, std::size_t> leaving;
  for (const auto& attachment : attachmentsThatLeave()) ++leaving[attachment.second];
  return leaving;
}

// What is handed out is put together from what may leave: whatever else a store holds, now or later, stays behind.
std::string WorkingCopy::storeOfWhatIsLeft() {
  const auto leaving = labelsThatLeave();
  std::set<std::u16string> categories;
  const auto copy = Store::inMemory();
  copy->atomically([&] {
    for (const LabelRecord& label : labels_.list()) {
      if (leaving.count(label.uuid) == 0) continue;
      if (categories.insert(label.categoryUUID).second) {
        copy->run("INSERT INTO category VALUES(?, ?)", {toBlob(label.categoryUUID), toBlob(label.categoryName)});
      }
      copy->run("INSERT INTO label VALUES(?, ?, ?, CAST(? AS INTEGER))",
                {toBlob(label.uuid), toBlob(label.categoryUUID), toBlob(label.name), label.kept ? "1" : "0"});
    }
    for (const auto& [entry, label] : attachmentsThatLeave()) {
      copy->run("INSERT INTO attachment VALUES(?, ?)", {entry, toBlob(label)});
    }
  });
  return copy->image();
}

std::vector<path> WorkingCopy::getFiles() {
  std::vector<path> files;
  files.reserve(gone_.size());
  for (std::size_t i = 0; i < gone_.size(); ++i) {
    if (!gone_[i]) files.push_back(pathOf(i));
  }
  return files;
}

path WorkingCopy::getRootFolder() { return path(fromBytes(root_), true); }

std::vector<project::management::FileLabel> WorkingCopy::getFileLabels(const path& entry) {
  const auto found = find(entry);
  if (!found) return {};
  return labelsOf((*table_)[*found]);
}

bool WorkingCopy::isFolder(const path& entry) {
  const auto found = find(entry);
  return found && (*table_)[*found].kind == EntryKind::folder;
}

std::vector<path> WorkingCopy::removeFiles(const std::vector<path>& entries) {
  const std::vector<bool> going = withAllBelow(entries);
  std::vector<path> removed;
  for (std::size_t i = 0; i < going.size(); ++i) {
    if (going[i]) removed.push_back(pathOf(i));
  }
  for (std::size_t i = 0; i < going.size(); ++i) gone_[i] = gone_[i] || going[i];
  return removed;
}

std::optional<std::size_t> WorkingCopy::find(const path& entry) const {
  const auto found = table_->find(relative(entry));
  // Several texts may stand for the same bytes; only the one that was given out names the entry.
  return found && !gone_[*found] && pathOf(*found) == entry ? found : std::nullopt;
}

path WorkingCopy::pathOf(std::size_t entry) const { return path(prefix_ + fromBytes((*table_)[entry].path), true); }

// A folder stands before what lies in it, so one pass carries a removal all the way down.
std::vector<bool> WorkingCopy::withAllBelow(const std::vector<path>& entries) const {
  std::vector<bool> going(gone_.size());
  for (const path& entry : entries) {
    if (const auto found = find(entry)) going[*found] = true;
  }
  for (std::size_t i = 0; i < going.size(); ++i) {
    const std::size_t parent = table_->parentOf(i);
    if (gone_[i] || going[i] || parent == EntryTable::ROOT || !going[parent]) continue;
    if ((*table_)[i].kind != EntryKind::folder) {
      throw Error(errors::SHARED_BELOW_HELD_BACK, inQuotes((*table_)[i].path) + " would stay in a folder that goes");
    }
    going[i] = true;
  }
  return going;
}

}  // namespace folder_host
