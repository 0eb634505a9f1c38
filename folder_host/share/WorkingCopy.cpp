#include "folder_host/share/WorkingCopy.h"

#include <algorithm>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/share/HostRules.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

using fl::filesystem::path;

namespace {

// Whether the text is these bytes, and no other bytes can be it.
bool isAscii(std::string_view bytes, std::u16string_view text) {
  return std::equal(bytes.begin(), bytes.end(), text.begin(), text.end(),
                    [](char byte, char16_t unit) { return unit < 0x80 && unit == static_cast<unsigned char>(byte); });
}

}  // namespace

WorkingCopy::WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const Listing> listing,
                         std::shared_ptr<const Memory> memory)
    : WorkingCopy(std::move(root), std::move(store), std::make_shared<const EntryTable>(std::move(listing)),
                  std::move(memory)) {}

WorkingCopy::WorkingCopy(std::string root, std::shared_ptr<Store> store, std::shared_ptr<const EntryTable> table,
                         std::shared_ptr<const Memory> memory)
    : root_(std::move(root)),
      prefix_(fromBytes(root_ == "/" ? root_ : root_ + "/")),
      store_(std::move(store)),
      table_(std::move(table)),
      heldBack_(table_->size()),
      metadata_(std::make_shared<MetadataStore>(store_)),
      labels_(store_),
      memory_(std::move(memory)),
      instead_(std::make_shared<LabelsByEntry>()) {}

WorkingCopy::~WorkingCopy() = default;

// What never changes, clones have in common: the listing, and what was found out about it. The store and the marks are
// each one's own.
std::shared_ptr<WorkingCopy> WorkingCopy::clone() const {
  std::shared_ptr<WorkingCopy> copy(new WorkingCopy(root_, store_->memoryCopy(), table_, memory_));
  copy->address_ = address_;
  copy->heldBack_ = heldBack_;
  copy->scope_ = scope_;
  copy->instead_ = instead_;
  copy->followed_ = followed_;
  if (store_->version() && effectiveOf_ == store_->version()) {
    copy->effective_ = effective_;
    copy->effectiveOf_ = copy->store_->version();
  }
  return copy;
}

std::shared_ptr<WorkingCopy> WorkingCopy::asItWas() const {
  auto instead = std::make_shared<LabelsByEntry>(*instead_);
  std::map<const LabelSet*, LabelsByEntry::mapped_type> known;
  for (const auto& [entry, had] : followed().differing()) {
    auto& names = known[&had.labels];
    if (!names) {
      std::vector<std::u16string> uuids;
      for (const std::size_t label : had.labels) uuids.push_back(effective().sources().labels()[label].uuid);
      names = std::make_shared<const std::vector<std::u16string>>(std::move(uuids));
    }
    (*instead)[entry] = names;
  }
  auto copy = clone();
  copy->instead_ = std::move(instead);
  copy->effectiveOf_.reset();
  return copy;
}

LabelStore& WorkingCopy::getLabelManager() { return labels_; }

project::management::FileManager& WorkingCopy::getFileManager() { return *this; }

std::shared_ptr<project::metadata::MetadataManager> WorkingCopy::getMetadataManager() { return metadata_; }

Position WorkingCopy::position() const { return store_->position(); }

const std::string& WorkingCopy::root() const { return root_; }

const Listing& WorkingCopy::listing() const { return table_->listing(); }

const EntryTable& WorkingCopy::table() const { return *table_; }

std::vector<const Entry*> WorkingCopy::entries() const {
  std::vector<const Entry*> entries;
  for (std::size_t i = 0; i < heldBack_.size(); ++i) {
    if (!heldBack_[i]) entries.push_back(&(*table_)[i]);
  }
  return entries;
}

// A filter asks for the labels of every entry in turn. The table of all of them is good for as long as the store's
// version is the same; within a change that may still be rolled back there is no version, and it is made each time.
const EffectiveLabels& WorkingCopy::effective() const {
  const std::optional<int> version = store_->version();
  if (!effective_ || !version || version != effectiveOf_) {
    effective_ = std::make_shared<const EffectiveLabels>(*table_, labels_, *instead_);
  }
  effectiveOf_ = version;
  return *effective_;
}

const Followed& WorkingCopy::followed() const {
  if (!followed_) {
    effective();
    followed_ = std::make_shared<const Followed>(table_, effective_, memory_);
  }
  return *followed_;
}

const std::string& WorkingCopy::scopePath() const {
  static const std::string ROOT_PATH;
  return scope_ == EntryTable::ROOT ? ROOT_PATH : (*table_)[scope_].path;
}

// A folder stands before what lies in it.
Selection WorkingCopy::inScope() const {
  Selection inside(table_->size(), scope_ == EntryTable::ROOT);
  if (scope_ == EntryTable::ROOT) return inside;
  for (std::size_t i = 0; i < inside.size(); ++i) {
    const std::size_t parent = table_->parentOf(i);
    inside[i] = parent == scope_ || (parent != EntryTable::ROOT && inside[parent]);
  }
  return inside;
}

HostRemovals WorkingCopy::narrowToScope() {
  const Selection inside = inScope();
  for (std::size_t i = 0; i < heldBack_.size(); ++i) heldBack_[i] = heldBack_[i] || !inside[i];
  return holdBackByHostRules(*table_, heldBack_, scope_);
}

void WorkingCopy::holdBack(const Selection& entries) {
  for (std::size_t i = 0; i < heldBack_.size(); ++i) heldBack_[i] = heldBack_[i] || entries[i];
}

std::string WorkingCopy::relative(const path& entry) const {
  const std::u16string& text = entry.text();
  return text.compare(0, prefix_.size(), prefix_) == 0 ? toBytes(std::u16string_view(text).substr(prefix_.size()))
                                                       : std::string();
}

HostRemovals WorkingCopy::applyHostRules() { return holdBackByHostRules(*table_, heldBack_); }

// A mark on a missing path does not leave: the path is a name, and perhaps that of what was held back.
std::vector<Attachment> WorkingCopy::attachmentsThatLeave() const {
  const EffectiveLabels& labels = effective();
  std::vector<Attachment> attachments;
  for (std::size_t i = 0; i < heldBack_.size(); ++i) {
    if (heldBack_[i]) continue;  // nor its labels
    for (const std::size_t label : labels.of(i)) {
      attachments.emplace_back(pathInCopy((*table_)[i].path), labels.sources().labels()[label].uuid);
    }
  }
  return attachments;
}

std::map<std::u16string, std::size_t> WorkingCopy::labelsThatLeave() const {
  const EffectiveLabels& labels = effective();
  std::vector<std::size_t> counts(labels.sources().labels().size());
  for (std::size_t i = 0; i < heldBack_.size(); ++i) {
    if (heldBack_[i]) continue;
    for (const std::size_t label : labels.of(i)) ++counts[label];
  }
  std::map<std::u16string, std::size_t> leaving;
  for (std::size_t label = 0; label < counts.size(); ++label) {
    if (counts[label] > 0) leaving.emplace(labels.sources().labels()[label].uuid, counts[label]);
  }
  return leaving;
}

std::string WorkingCopy::storeOfWhatIsShared() const { return labels_.imageWith(attachmentsThatLeave()); }

std::vector<path> WorkingCopy::getFiles() {
  std::vector<path> files;
  files.reserve(heldBack_.size());
  for (std::size_t i = 0; i < heldBack_.size(); ++i) {
    if (!heldBack_[i]) files.push_back(pathOf(i));
  }
  return files;
}

path WorkingCopy::getRootFolder() { return path(fromBytes(root_), true); }

std::vector<project::management::FileLabel> WorkingCopy::getFileLabels(const path& entry) {
  const auto found = find(entry);
  if (!found) return {};
  return effective().fileLabelsOf(*found);
}

bool WorkingCopy::isFolder(const path& entry) {
  const auto found = find(entry);
  return found && (*table_)[*found].kind == EntryKind::folder;
}

// All that can fail comes before the first mark: a removal is whole or has not been.
std::vector<path> WorkingCopy::removeFiles(const std::vector<path>& entries) {
  const Selection removed = withAllBelow(entries);
  std::vector<path> paths;
  paths.reserve(static_cast<std::size_t>(std::count(removed.begin(), removed.end(), true)));
  for (std::size_t i = 0; i < removed.size(); ++i) {
    if (removed[i]) paths.push_back(pathOf(i));
  }
  for (std::size_t i = 0; i < removed.size(); ++i) heldBack_[i] = heldBack_[i] || removed[i];  // nothing fails any more
  return paths;
}

// Whoever goes over the entries asks twice about each, and then about the next one.
std::optional<std::size_t> WorkingCopy::findNearby(std::u16string_view below) const {
  constexpr std::size_t FAR = 16;
  const std::size_t end = std::min(latest_ + FAR, table_->size());
  for (std::size_t i = latest_; i < end; ++i) {
    if (heldBack_[i] || !isAscii((*table_)[i].path, below)) continue;
    latest_ = i;
    return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> WorkingCopy::find(const path& entry) const {
  const std::u16string_view text = entry.text();
  if (text.substr(0, prefix_.size()) == prefix_) {
    if (const auto nearby = findNearby(text.substr(prefix_.size()))) return nearby;
  }
  const auto found = table_->find(relative(entry));
  // Several texts may stand for the same bytes; only the one that was given out names the entry.
  if (!found || heldBack_[*found] || !(pathOf(*found) == entry)) return std::nullopt;
  latest_ = *found;
  return found;
}

path WorkingCopy::pathOf(std::size_t entry) const {
  const std::string& below = (*table_)[entry].path;
  std::u16string text;
  text.reserve(prefix_.size() + below.size());
  text.append(prefix_);
  appendFromBytes(text, below);
  return path(std::move(text), true);
}

// A folder stands before what lies in it, so one pass carries a removal all the way down.
Selection WorkingCopy::withAllBelow(const std::vector<path>& entries) const {
  Selection removed(heldBack_.size());
  for (const path& entry : entries) {
    if (const auto found = find(entry)) removed[*found] = true;
  }
  for (std::size_t i = 0; i < removed.size(); ++i) {
    const std::size_t parent = table_->parentOf(i);
    if (heldBack_[i] || removed[i] || parent == EntryTable::ROOT || !removed[parent]) continue;
    if ((*table_)[i].kind != EntryKind::folder) {
      throw Error(
          errors::SHARED_BELOW_HELD_BACK,
          inQuotes((*table_)[i].path) + " would be shared in a folder that is held back; share by another profile");
    }
    removed[i] = true;
  }
  return removed;
}

}  // namespace folder_host
