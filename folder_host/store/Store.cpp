#include "folder_host/store/Store.h"

#include <SQLiteCpp/Column.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <climits>
#include <limits>
#include <memory>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Ownership.h"
#include "folder_host/store/Soundness.h"
#include "folder_host/text/Utf.h"
#include "project/metadata/MetadataManager.h"

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

// Empty where the system does not say.
std::string machineName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : std::string();
}

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

Store::Store(StoreDatabase store)
    : vfs_(std::move(store.vfs)),
      database_(std::move(store.database)),
      author_{userName(::geteuid()), machineName()},
      scopes_(database_, vfs_ ? [this](const Changes& changes) { keepEdit(changes); } : Scopes::KeepEdit()) {}

Store::~Store() = default;

// In a read scope, so that the copy is the state of one moment, and a change that was lost is told before.
std::shared_ptr<Store> Store::memoryCopy() {
  const MetadataScopeGuard scope = beginRead();
  try {
    StoreDatabase copy = copyInMemory(database_);
    copy.database.exec("DELETE FROM edit");
    return std::make_shared<Store>(std::move(copy));
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

void Store::keepEdit(const Changes& changes) {
  const EditNote note = std::exchange(note_, {});
  if (changes.empty() && note.undoes.empty() && !(note.settles && !note.settled.empty())) return;
  constexpr std::size_t MOST_WORDS = std::size_t{64} << 10U;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const std::string at = std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  const std::string id = toBytes(project::metadata::generateUUID()), words = author_.words.substr(0, MOST_WORDS);
  execute("INSERT INTO edit SELECT coalesce(max(number), 0) + 1, ?, CAST(? AS INTEGER), ?, ?, ?, ?, ?, ? FROM edit",
          Values{id, at, author_.user, author_.machine, words, note.undoes, note.settled, bytesOf(changes)});
  lastEdit_ = database_.getLastInsertRowid();
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
