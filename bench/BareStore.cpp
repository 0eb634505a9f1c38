#include "BareStore.h"

#include <stdexcept>

#include "folder_host/store/Blob.h"
#include "folder_host/store/NodeKey.h"
#include "folder_host/text/Utf.h"

namespace bench {

using Kind = StoreCall::Kind;

BareStore::BareStore(sqlite3* database)
    : database_(database),
      begin_(prepare("BEGIN IMMEDIATE")),
      commit_(prepare("COMMIT")),
      exists_(prepare("SELECT 1 FROM node WHERE parent = ? AND type = ? AND location = ?")),
      children_(prepare("SELECT type, location FROM node WHERE parent = ? ORDER BY type, location")),
      values_(prepare("SELECT key, value FROM node_value WHERE node = ?")),
      insert_(prepare("INSERT INTO node VALUES(?, ?, ?) ON CONFLICT DO NOTHING")),
      put_(prepare("INSERT OR REPLACE INTO node_value VALUES(?, ?, ?)")),
      removeNode_(prepare("DELETE FROM node WHERE parent = ? AND type = ? AND location = ?")),
      removeBelow_(prepare("DELETE FROM node WHERE parent >= ? AND parent < ?")),
      removeValues_(prepare("DELETE FROM node_value WHERE node >= ? AND node < ?")) {}

BareStore::~BareStore() = default;

std::vector<BareStore::Key> BareStore::keysOf(const std::vector<StoreCall>& calls) {
  std::vector<Key> keys;
  for (const StoreCall& call : calls) {
    Key& key = keys.emplace_back();
    key.kind = call.kind;
    key.node = folder_host::nodeKeyOf(call.path);
    key.end = folder_host::endOfKeys(key.node);
    key.parent = folder_host::parentKeyOf(call.path);
    key.type = folder_host::toBlob(call.path.getLeaf().getType());
    key.location = folder_host::toBlob(call.path.getLeaf().getLocation());
    key.valueKey = folder_host::toBlob(call.key);
    key.value = folder_host::toBlob(call.value);
    if (call.kind != Kind::set) continue;
    std::string parent;
    for (const auto& element : call.path.getElements()) {
      key.ancestors.push_back(
          {parent, folder_host::toBlob(element.getType()), folder_host::toBlob(element.getLocation())});
      folder_host::appendToNodeKey(parent, element);
    }
  }
  return keys;
}

BareStore::Statement BareStore::prepare(const char* sql) const {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr) != SQLITE_OK) throw std::runtime_error(sql);
  return Statement(statement);
}

void BareStore::run(const Statement& statement, std::initializer_list<const std::string*> values) {
  int index = 0;
  for (const std::string* value : values) {
    sqlite3_bind_blob(statement.get(), ++index, value->data(), static_cast<int>(value->size()), SQLITE_STATIC);
  }
  int result = sqlite3_step(statement.get());
  for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
    for (int column = 0; column < sqlite3_column_count(statement.get()); ++column) {
      if (sqlite3_column_blob(statement.get(), column) != nullptr) seen_ = seen_ + 1;
      seen_ = seen_ + static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column));
    }
  }
  sqlite3_reset(statement.get());
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database_));
}

void BareStore::answer(const std::vector<Key>& calls) {
  run(begin_, {});
  for (const Key& call : calls) answer(call);
  run(commit_, {});
}

void BareStore::answer(const Key& call) {
  switch (call.kind) {
    case Kind::exists:
      return run(exists_, {&call.parent, &call.type, &call.location});
    case Kind::children:
      return run(children_, {&call.node});
    case Kind::node:
      run(exists_, {&call.parent, &call.type, &call.location});
      return run(values_, {&call.node});
    case Kind::set:
      return set(call);
    case Kind::remove:
      return remove(call);
  }
}

void BareStore::set(const Key& call) {
  for (const auto& ancestor : call.ancestors) run(insert_, {&ancestor[0], &ancestor[1], &ancestor[2]});
  if (!call.valueKey.empty()) run(put_, {&call.node, &call.valueKey, &call.value});
}

void BareStore::remove(const Key& call) {
  run(removeNode_, {&call.parent, &call.type, &call.location});
  run(removeBelow_, {&call.node, &call.end});
  run(removeValues_, {&call.node, &call.end});
}

}  // namespace bench
