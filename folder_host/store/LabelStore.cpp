#include "folder_host/store/LabelStore.h"

#include <set>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

namespace {

// Both as the store has them; `isProtected` is "0" where a filter may remove the label.
LabelIdentifier labelOf(const std::string& uuid, const std::string& isProtected) {
  return LabelIdentifier(fromBlob(uuid), isProtected == "0" ? 1 : 0);
}

// Two programs may have made a category of one name each. The choice between them must be the same every time, or the
// labels of one name would be spread over both.
std::string categoryNamed(Store& store, const std::u16string& name) {
  const auto rows = store.query("SELECT min(uuid) FROM category WHERE name = ?", {toBlob(name)});
  if (!rows.front().front().empty()) return rows.front().front();
  std::string uuid = toBlob(project::metadata::generateUUID());
  store.run("INSERT INTO category VALUES(?, ?)", {uuid, toBlob(name)});
  return uuid;
}

// In any category of that name: two of one name would be one to a person.
void checkNames(Store& store, const std::u16string& categoryName, const std::u16string& name,
                const std::u16string& itself = {}) {
  if (categoryName.empty() || name.empty()) {
    throw Error(errors::NAME_EMPTY, "a label and its category need a name each; write CATEGORY/NAME");
  }
  const char* sql =
      "SELECT 1 FROM label JOIN category c ON c.uuid = category WHERE c.name = ? AND label.name = ? AND label.uuid <> "
      "?";
  if (!store.query(sql, {toBlob(categoryName), toBlob(name), toBlob(itself)}).empty()) {
    throw Error(errors::LABEL_NAME_TAKEN,
                "there is already a label " + inQuotes(categoryName + u"/" + name) + "; choose another name");
  }
}

void requireChange(std::size_t changed) {
  if (changed == 0) throw Error(errors::LABEL_NOT_FOUND, "there is no such label any more; list the labels again");
}

// To be asked in the scope of an edit: another program may have deleted the label since it was found, and a store with
// a mark of none is refused when it is opened.
void requireLabel(Store& store, const std::string& label) {
  requireChange(store.query("SELECT 1 FROM label WHERE uuid = ?", {label}).size());
}

// The category, as its UUID and name are stored, of a label.
Store::Row categoryOf(Store& store, const std::u16string& labelUUID) {
  const char* sql = "SELECT c.uuid, c.name FROM label JOIN category c ON c.uuid = category WHERE label.uuid = ?";
  const auto rows = store.query(sql, {toBlob(labelUUID)});
  requireChange(rows.size());
  return rows.front();
}

}  // namespace

LabelStore::LabelStore(std::shared_ptr<Store> store) : store_(std::move(store)) {}

LabelStore::~LabelStore() = default;

std::vector<CategoryIdentifier> LabelStore::getCategories() const {
  std::vector<CategoryIdentifier> categories;
  for (const Store::Row& row : store_->query("SELECT uuid FROM category ORDER BY uuid")) {
    categories.emplace_back(fromBlob(row[0]));
  }
  return categories;
}

// Each row is found by those that are deleted after it, hence this order; and all of it is one change, because a store
// with a label without its category is refused when it is opened.
void LabelStore::removeCategory(const CategoryIdentifier& category) {
  const std::string uuid = toBlob(category.toString());
  store_->atomically([&] {
    store_->run("DELETE FROM mark WHERE label IN (SELECT uuid FROM label WHERE category = ?)", {uuid});
    store_->run("DELETE FROM rule WHERE label IN (SELECT uuid FROM label WHERE category = ?)", {uuid});
    store_->run("DELETE FROM label WHERE category = ?", {uuid});
    store_->run("DELETE FROM category WHERE uuid = ?", {uuid});
  });
}

std::vector<LabelIdentifier> LabelStore::getLabels(const CategoryIdentifier& category) const {
  std::vector<LabelIdentifier> labels;
  const char* sql = "SELECT uuid, protected FROM label WHERE category = ? ORDER BY uuid";
  for (const Store::Row& row : store_->query(sql, {toBlob(category.toString())})) {
    labels.push_back(labelOf(row[0], row[1]));
  }
  return labels;
}

// Marks and rules are deleted only where the label is: one that is not in this category stays, with all that is its.
void LabelStore::removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool /*flag*/) {
  const std::string uuid = toBlob(label.getUUID());
  store_->atomically([&] {
    const std::size_t removed =
        store_->run("DELETE FROM label WHERE uuid = ? AND category = ?", {uuid, toBlob(category.toString())});
    if (removed == 0) return;
    store_->run("DELETE FROM mark WHERE label = ?", {uuid});
    store_->run("DELETE FROM rule WHERE label = ?", {uuid});
  });
}

std::vector<LabelRecord> LabelStore::list() const {
  std::vector<LabelRecord> labels;
  const char* sql =
      "SELECT label.uuid, label.name, c.uuid, c.name, protected FROM label JOIN category c ON c.uuid = category "
      "ORDER BY c.name, label.name, label.uuid";
  for (const Store::Row& row : store_->query(sql)) {
    labels.push_back({fromBlob(row[0]), fromBlob(row[1]), fromBlob(row[2]), fromBlob(row[3]), row[4] != "0"});
  }
  return labels;
}

LabelRecord LabelStore::create(const std::u16string& categoryName, const std::u16string& name) {
  LabelRecord label{project::metadata::generateUUID(), name, {}, categoryName};
  store_->atomically([&] {
    checkNames(*store_, categoryName, name);
    const std::string category = categoryNamed(*store_, categoryName);
    label.categoryUUID = fromBlob(category);
    store_->run("INSERT INTO label(uuid, category, name) VALUES(?, ?, ?)",
                {toBlob(label.uuid), category, toBlob(name)});
  });
  return label;
}

void LabelStore::rename(const std::u16string& labelUUID, const std::u16string& name) {
  store_->atomically([&] {
    checkNames(*store_, fromBlob(categoryOf(*store_, labelUUID)[1]), name, labelUUID);
    store_->run("UPDATE label SET name = ? WHERE uuid = ?", {toBlob(name), toBlob(labelUUID)});
  });
}

void LabelStore::setProtected(const std::u16string& labelUUID, bool isProtected) {
  const char* sql =
      isProtected ? "UPDATE label SET protected = 1 WHERE uuid = ?" : "UPDATE label SET protected = 0 WHERE uuid = ?";
  store_->atomically([&] { requireChange(store_->run(sql, {toBlob(labelUUID)})); });
}

std::vector<CategoryRecord> LabelStore::categories() const {
  std::vector<CategoryRecord> categories;
  for (const Store::Row& row : store_->query("SELECT uuid, name FROM category ORDER BY uuid")) {
    categories.push_back({fromBlob(row[0]), fromBlob(row[1])});
  }
  return categories;
}

// In one change, because two names that are exchanged are for a moment the same.
void LabelStore::put(const std::vector<CategoryRecord>& categories, const std::vector<LabelRecord>& labels) {
  const auto require = [](const std::u16string& uuid, const std::u16string& name) {
    if (uuid.empty() || name.empty()) throw Error(errors::NAME_EMPTY, "a label and its category need a name each");
  };
  const char* putLabel =
      "INSERT INTO label VALUES(?, ?, ?, CAST(? AS INTEGER)) ON CONFLICT(uuid) DO UPDATE SET category = "
      "excluded.category, name = excluded.name, protected = excluded.protected";
  store_->atomically([&] {
    for (const CategoryRecord& category : categories) {
      require(category.uuid, category.name);
      store_->run("INSERT INTO category VALUES(?, ?) ON CONFLICT(uuid) DO UPDATE SET name = excluded.name",
                  {toBlob(category.uuid), toBlob(category.name)});
    }
    for (const LabelRecord& label : labels) {
      require(label.uuid, label.name);
      const std::string category = toBlob(label.categoryUUID);
      requireChange(store_->query("SELECT 1 FROM category WHERE uuid = ?", {category}).size());
      store_->run(putLabel, {toBlob(label.uuid), category, toBlob(label.name), label.isProtected ? "1" : "0"});
    }
  });
}

void LabelStore::erase(const std::u16string& labelUUID) {
  store_->atomically([&] {
    const CategoryIdentifier category(fromBlob(categoryOf(*store_, labelUUID)[0]));
    removeLabel(category, LabelIdentifier(labelUUID), false);
    // No command deletes a category, so one without labels would stay for ever.
    if (getLabels(category).empty()) removeCategory(category);
  });
}

std::size_t LabelStore::attach(const std::u16string& labelUUID, const std::vector<std::string>& paths, MarkKind kind) {
  const std::string label = toBlob(labelUUID), number = std::to_string(static_cast<int>(kind));
  const char* sql =
      "INSERT INTO mark VALUES(?1, ?2, CAST(?3 AS INTEGER)) ON CONFLICT(path, label) DO UPDATE SET kind = "
      "excluded.kind "
      "WHERE kind <> excluded.kind";
  std::size_t attached = 0;
  store_->atomically([&] {
    requireLabel(*store_, label);
    for (const std::string& path : paths) attached += store_->run(sql, {path, label, number});
  });
  return attached;
}

std::size_t LabelStore::detach(const std::u16string& labelUUID, const std::vector<std::string>& paths) {
  const std::string label = toBlob(labelUUID);
  std::size_t detached = 0;
  store_->atomically([&] {
    for (const std::string& path : paths) {
      detached += store_->run("DELETE FROM mark WHERE path = ? AND label = ?", {path, label});
    }
  });
  return detached;
}

// Whoever takes marks and rules looks each label up among those of list(), and expects it to be there.
std::vector<Mark> LabelStore::marks() const {
  std::vector<Mark> marks;
  const char* sql = "SELECT path, label, kind FROM mark WHERE label IN (SELECT uuid FROM label) ORDER BY path, label";
  for (Store::Row& row : store_->query(sql)) {
    const MarkKind kind = row[2] == "0" ? MarkKind::entry : row[2] == "1" ? MarkKind::reach : MarkKind::exception;
    marks.push_back({std::move(row[0]), fromBlob(row[1]), kind});
  }
  return marks;
}

std::vector<Rule> LabelStore::rules() const {
  std::vector<Rule> rules;
  const char* sql = "SELECT label, pattern FROM rule WHERE label IN (SELECT uuid FROM label) ORDER BY label, position";
  for (Store::Row& row : store_->query(sql)) rules.push_back({fromBlob(row[0]), std::move(row[1])});
  return rules;
}

void LabelStore::setRules(const std::u16string& labelUUID, const std::vector<std::string>& patterns) {
  const std::string label = toBlob(labelUUID);
  store_->atomically([&] {
    requireLabel(*store_, label);
    store_->run("DELETE FROM rule WHERE label = ?", {label});
    std::set<std::string> later;
    for (std::size_t i = patterns.size(); i-- > 0;) {
      if (!later.insert(patterns[i]).second) continue;
      store_->run("INSERT INTO rule VALUES(?, CAST(? AS INTEGER), ?)", {label, std::to_string(i), patterns[i]});
    }
  });
}

// Put together from what it is to hold: whatever else this store holds, now or in a later version, is not in it.
std::string LabelStore::imageWith(const std::vector<Attachment>& attachments) const {
  std::set<std::u16string> attached, categories;
  for (const auto& [path, label] : attachments) attached.insert(label);
  const auto copy = Store::inMemory();
  copy->atomically([&] {
    for (const LabelRecord& label : list()) {
      if (attached.count(label.uuid) == 0) continue;
      if (categories.insert(label.categoryUUID).second) {
        copy->run("INSERT INTO category VALUES(?, ?)", {toBlob(label.categoryUUID), toBlob(label.categoryName)});
      }
      copy->run("INSERT INTO label VALUES(?, ?, ?, CAST(? AS INTEGER))",
                {toBlob(label.uuid), toBlob(label.categoryUUID), toBlob(label.name), label.isProtected ? "1" : "0"});
    }
    for (const auto& [path, label] : attachments) {
      copy->run("INSERT INTO mark VALUES(?, ?, 0)", {path, toBlob(label)});
    }
  });
  return copy->image();
}

}  // namespace folder_host
