#include "folder_host/store/Store.h"

#include <SQLiteCpp/Column.h>
#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/Soundness.h"

namespace folder_host {

using project::metadata::MetadataScopeGuard;

namespace {

// Not copied: the caller's values live until the statement has run, and are bound anew the next time.
template <class List>
void bindValues(SQLite::Statement& statement, const List& values) {
  int index = 0;
  for (const std::string_view value : values) {
    if (value.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
      throw storeFailure(SQLITE_TOOBIG);
    }
    // A null pointer would bind NULL in the place of an empty blob.
    statement.bindNoCopy(++index, value.empty() ? "" : value.data(), static_cast<int>(value.size()));
  }
}

Store::Row readRow(const SQLite::Statement& statement) {
  Store::Row row;
  row.reserve(static_cast<std::size_t>(statement.getColumnCount()));
  for (int column = 0; column < statement.getColumnCount(); ++column) {
    row.push_back(statement.getColumn(column).getString());
  }
  return row;
}

struct Release {
  void operator()(unsigned char* bytes) const { sqlite3_free(bytes); }
};

// Leaves a cached statement without locks, whatever happens; its values are bound anew for each use.
class Use {
 public:
  explicit Use(SQLite::Statement& statement) : statement_(statement) {}
  ~Use() { statement_.tryReset(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

 private:
  SQLite::Statement& statement_;
};

}  // namespace

std::shared_ptr<Store> Store::open(const std::string& file, const std::function<void(const Descriptor&)>& checkFolder) {
  return std::make_shared<Store>(openStoreFile(file, checkFolder));
}

std::shared_ptr<Store> Store::inMemory() {
  try {
    return std::make_shared<Store>(emptyStore());
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

std::shared_ptr<Store> Store::of(const Update& update) {
  try {
    StoreDatabase store = emptyStore();
    if (!replaceWhole(store.database, update)) throw storeFailure(SQLITE_CORRUPT, "it does not fit together");
    return std::make_shared<Store>(std::move(store));
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

Store::Store(StoreDatabase store, std::shared_ptr<Origin> origin)
    : vfs_(std::move(store.vfs)),
      database_(std::move(store.database)),
      author_(thisUser()),
      scopes_(database_, vfs_ || origin ? this : nullptr) {
  if (origin) mirror_.emplace(database_, std::move(origin));
}

Store::~Store() = default;

// In a read scope, so that the copy is the state of one moment, and a change that was lost is told before.
std::shared_ptr<Store> Store::memoryCopy() {
  const MetadataScopeGuard scope = beginRead();
  try {
    StoreDatabase copy = copyInMemory(database_);
    copy.database.exec("DELETE FROM edit");
    auto store = std::make_shared<Store>(std::move(copy));
    store->copied_ = position();
    return store;
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

// What was deleted remains in a database file until it is written anew: VACUUM does that, and no byte of it is left.
std::string Store::image() {
  confirm();
  try {
    database_.exec("VACUUM");
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, Release> bytes(sqlite3_serialize(database_.getHandle(), "main", &size, 0));
  if (!bytes) throw storeFailure(SQLITE_NOMEM);
  return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

MetadataScopeGuard Store::beginRead() { return scopes_.begin(false, shared_from_this()); }

MetadataScopeGuard Store::beginWrite() {
  if (sqlite3_get_autocommit(database_.getHandle()) != 0) note_ = {};  // of a scope that was rolled back
  return scopes_.begin(true, shared_from_this());
}

// To ask the origin comes before the transaction: nobody waits on this machine for what a network takes.
void Store::willBegin(bool write) {
  if (!mirror_) return;
  if (write) {
    mirror_->lock();
  } else if (!asksOnce_ || !isFresh_) {
    mirror_->read();
  }
  isFresh_ = true;
  if (vfs_) vfs_->touch();
}

void Store::hasBegun(bool) {
  if (check_) check_();
}

bool Store::keepEdit(const Changes& changes) {
  const EditNote note = std::exchange(note_, {});
  const bool isLast = std::exchange(closesOrigin_, false);
  if (changes.empty() && note.undoes.empty() && !(note.settles && !note.settled.empty()) && !isLast) return false;
  Edit edit = editBy(author_, positionOf(database_).revision + 1);
  edit.undoes = note.undoes;
  edit.settled = note.settled;
  edit.changes = changes;
  if (!addEdit(database_, edit)) throw storeFailure(SQLITE_CORRUPT);
  if (mirror_) mirror_->publish(edit, isLast);
  lastEdit_ = edit.number;
  return mirror_.has_value();
}

void Store::hasEnded() noexcept {
  closesOrigin_ = false;
  if (mirror_) mirror_->release();
}

Update Store::whole() {
  confirm();
  try {
    return wholeOf(database_);
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

Position Store::position() {
  if (!copied_.editId.empty()) return copied_;
  confirm();
  try {
    return positionOf(database_);
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

std::vector<Edit> Store::lost() {
  try {
    return mirror_->lost();
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

void Store::confirm() { scopes_.confirm(); }

// The count of changes never goes back, and a change that is rolled back is counted, too: so it is no version while one
// is open.
std::optional<int> Store::version() const noexcept {
  if (sqlite3_txn_state(database_.getHandle(), nullptr) == SQLITE_TXN_WRITE) return std::nullopt;
  return sqlite3_total_changes(database_.getHandle());
}

// A share asks the same few questions a hundred thousand times, and to prepare one takes longer than to answer it.
SQLite::Statement& Store::prepared(const char* sql) {
  const auto known = statements_.find(sql);
  if (known != statements_.end()) return known->second;
  return statements_.emplace(sql, SQLite::Statement(database_, sql)).first->second;
}

// A change that could not be kept is told first: whoever reads on would take the older state for the newer one.
std::vector<Store::Row> Store::query(const char* sql, Values values) {
  confirm();
  const MetadataScopeGuard scope = needsScope() ? beginRead() : MetadataScopeGuard([] {});
  try {
    SQLite::Statement& statement = prepared(sql);
    const Use use(statement);
    bindValues(statement, values);
    std::vector<Row> rows;
    while (statement.executeStep()) rows.push_back(readRow(statement));
    return rows;
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

template <class List>
std::size_t Store::execute(const char* sql, const List& values) {
  SQLite::Statement& statement = prepared(sql);
  const Use use(statement);
  bindValues(statement, values);
  return static_cast<std::size_t>(statement.exec());
}

template <class List>
std::size_t Store::change(const char* sql, const List& values) {
  confirm();
  scopes_.requireWritable();
  if (needsScope()) {
    std::size_t changed = 0;
    atomically([&] { changed = change(sql, values); });
    return changed;
  }
  try {
    return execute(sql, values);
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

std::size_t Store::run(const char* sql, Values values) { return change(sql, values); }

std::size_t Store::run(const char* sql, const Row& values) { return change(sql, values); }

bool Store::isSound() {
  confirm();
  try {
    return folder_host::isSound(database_);
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

}  // namespace folder_host
