#include "folder_host/store/Changes.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <utility>

#include "folder_host/files/Ownership.h"
#include "folder_host/text/Packing.h"
#include "folder_host/text/Utf.h"
#include "project/metadata/MetadataManager.h"

// SQLite's header shows the functions of sessions only where this is said.
#define SQLITE_ENABLE_SESSION 1
#define SQLITE_ENABLE_PREUPDATE_HOOK 1
#include <sqlite3.h>

namespace folder_host {

namespace {

struct Layout {
  const char* name;
  TableSql sql;
};

constexpr std::array<Layout, TABLES> LAYOUTS = {{
    {"node",
     {"INSERT INTO node VALUES(?, ?, ?)", "DELETE FROM node WHERE parent = ? AND type = ? AND location = ?", 3}},
    {"node_value",
     {"INSERT INTO node_value VALUES(?, ?, ?)", "DELETE FROM node_value WHERE node = ? AND key = ? AND value = ?", 3}},
    {"category", {"INSERT INTO category VALUES(?, ?)", "DELETE FROM category WHERE uuid = ? AND name = ?", 2}},
    {"label",
     {"INSERT INTO label VALUES(?, ?, ?, CAST(? AS INTEGER))",
      "DELETE FROM label WHERE uuid = ? AND category = ? AND name = ? AND protected = CAST(? AS INTEGER)", 4}},
    {"mark",
     {"INSERT INTO mark VALUES(?, ?, CAST(? AS INTEGER))",
      "DELETE FROM mark WHERE path = ? AND label = ? AND kind = CAST(? AS INTEGER)", 3}},
    {"rule",
     {"INSERT INTO rule VALUES(?, CAST(? AS INTEGER), ?)",
      "DELETE FROM rule WHERE label = ? AND position = CAST(? AS INTEGER) AND pattern = ?", 3}},
}};

[[noreturn]] void fail(int result) { throw SQLite::Exception(sqlite3_errstr(result), result); }

void require(int result) {
  if (result != SQLITE_OK) fail(result);
}

struct Free {
  void operator()(void* memory) const { sqlite3_free(memory); }
};

struct Finalize {
  void operator()(sqlite3_changeset_iter* iterator) const { sqlite3changeset_finalize(iterator); }
};

std::string textOf(sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_INTEGER) return std::to_string(sqlite3_value_int64(value));
  const void* bytes = sqlite3_value_blob(value);
  return {static_cast<const char*>(bytes), bytes == nullptr ? 0 : static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

StoreTable tableNamed(std::string_view name) {
  const auto is = [&](const Layout& layout) { return layout.name == name; };
  return static_cast<StoreTable>(std::find_if(LAYOUTS.begin(), LAYOUTS.end(), is) - LAYOUTS.begin());
}

// Of a row that was changed, SQLite tells the key and the columns that are other than they were. Of the tables here,
// labels alone have more than one column beside the key.
void addMissing(SQLite::Database& database, std::vector<std::optional<std::string>>& was,
                std::vector<std::optional<std::string>>& is) {
  SQLite::Statement statement(database, "SELECT uuid, category, name, protected FROM label WHERE uuid = ?");
  statement.bindNoCopy(1, was[0]->data(), static_cast<int>(was[0]->size()));
  if (!statement.executeStep()) fail(SQLITE_CORRUPT);
  for (std::size_t i = 0; i < is.size(); ++i) {
    if (!is[i]) is[i] = statement.getColumn(static_cast<int>(i)).getString();
    if (!was[i]) was[i] = is[i];
  }
}

std::vector<std::string> rowOf(std::vector<std::optional<std::string>> columns) {
  std::vector<std::string> row;
  row.reserve(columns.size());
  for (auto& column : columns) row.push_back(std::move(column).value());
  return row;
}

void addChange(SQLite::Database& database, sqlite3_changeset_iter* iterator, Changes& changes) {
  const char* name = nullptr;
  int columns = 0, operation = 0;
  require(sqlite3changeset_op(iterator, &name, &columns, &operation, nullptr));
  const StoreTable table = tableNamed(name);
  std::vector<std::optional<std::string>> was(static_cast<std::size_t>(columns)), is = was;
  for (int i = 0; i < columns; ++i) {
    const auto column = static_cast<std::size_t>(i);
    sqlite3_value* value = nullptr;
    if (operation != SQLITE_INSERT) require(sqlite3changeset_old(iterator, i, &value));
    if (value != nullptr) was[column] = textOf(std::exchange(value, nullptr));
    if (operation != SQLITE_DELETE) require(sqlite3changeset_new(iterator, i, &value));
    if (value != nullptr) is[column] = textOf(value);
    if (operation == SQLITE_UPDATE && !is[column] && table != StoreTable::label) is[column] = was[column];
  }
  if (operation == SQLITE_UPDATE && table == StoreTable::label) addMissing(database, was, is);
  if (operation != SQLITE_INSERT) changes.push_back({table, false, rowOf(std::move(was))});
  if (operation != SQLITE_DELETE) changes.push_back({table, true, rowOf(std::move(is))});
}

}  // namespace

bool isTopNode(const Change& change) { return change.table == StoreTable::node && change.row[0].empty(); }

bool makeChanges(SQLite::Database& database, const Changes& changes) {
  std::array<std::optional<SQLite::Statement>, 2 * TABLES> statements;
  for (const Change& change : changes) {
    auto& statement = statements[2 * static_cast<std::size_t>(change.table) + (change.isPut ? 1 : 0)];
    const TableSql& sql = sqlOf(change.table);
    if (!statement) statement.emplace(database, change.isPut ? sql.put : sql.remove);
    statement->tryReset();
    int index = 0;
    for (const std::string& column : change.row) {
      statement->bindNoCopy(++index, column.data(), static_cast<int>(column.size()));
    }
    const int result = statement->tryExecuteStep();
    if ((result & 0xFF) == SQLITE_CONSTRAINT) return false;
    if (result != SQLITE_DONE) fail(result);
    if (database.getChanges() != 1) return false;
  }
  return true;
}

Changes contentOf(SQLite::Database& database) {
  Changes content;
  for (std::size_t table = 0; table < TABLES; ++table) {
    SQLite::Statement rows(database, std::string("SELECT * FROM ") + LAYOUTS[table].name);
    while (rows.executeStep()) {
      Change& change = content.emplace_back(Change{static_cast<StoreTable>(table), true, {}});
      change.row.reserve(LAYOUTS[table].sql.columns);
      for (int i = 0; i < rows.getColumnCount(); ++i) change.row.push_back(rows.getColumn(i).getString());
    }
  }
  return content;
}

const TableSql& sqlOf(StoreTable table) { return LAYOUTS[static_cast<std::size_t>(table)].sql; }

Author thisUser() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  const bool isNamed = ::gethostname(name.data(), name.size() - 1) == 0;
  return {userName(::geteuid()), isNamed ? name.data() : ""};
}

Edit editBy(const Author& author, std::int64_t number) {
  constexpr std::size_t MOST_WORDS = std::size_t{64} << 10U;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  Edit edit;
  edit.number = number;
  edit.id = toBytes(project::metadata::generateUUID());
  edit.at = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  edit.user = author.user;
  edit.machine = author.machine;
  edit.words = author.words.substr(0, MOST_WORDS);
  return edit;
}

std::string bytesOf(const Changes& changes) {
  std::string bytes;
  for (const Change& change : changes) {
    putNumber(bytes, 2 * static_cast<std::uint64_t>(change.table) + (change.isPut ? 1 : 0));
    for (const std::string& column : change.row) putText(bytes, column);
  }
  return bytes;
}

std::optional<Changes> changesIn(std::string_view bytes) {
  Changes changes;
  Unpacker unpacker(bytes);
  while (!unpacker.isAtEnd()) {
    const std::uint64_t number = unpacker.number(2 * TABLES - 1);
    Change change{static_cast<StoreTable>(number / 2), number % 2 != 0, {}};
    for (std::size_t left = sqlOf(change.table).columns; left > 0; --left) change.row.push_back(unpacker.text());
    if (unpacker.fails()) return std::nullopt;
    changes.push_back(std::move(change));
  }
  return changes;
}

struct Recording::Session {
  ~Session() {
    if (session != nullptr) sqlite3session_delete(session);
  }

  sqlite3_session* session = nullptr;
};

Recording::Recording(SQLite::Database& database) : database_(database), session_(std::make_unique<Session>()) {
  require(sqlite3session_create(database.getHandle(), "main", &session_->session));
  for (const Layout& layout : LAYOUTS) require(sqlite3session_attach(session_->session, layout.name));
}

Recording::~Recording() = default;

Changes Recording::changes() const {
  int size = 0;
  void* bytes = nullptr;
  require(sqlite3session_changeset(session_->session, &size, &bytes));
  const std::unique_ptr<void, Free> changeset(bytes);
  sqlite3_changeset_iter* iterator = nullptr;
  require(sqlite3changeset_start(&iterator, size, bytes));
  const std::unique_ptr<sqlite3_changeset_iter, Finalize> iteration(iterator);
  Changes changes;
  int step = SQLITE_OK;
  while ((step = sqlite3changeset_next(iterator)) == SQLITE_ROW) addChange(database_, iterator, changes);
  if (step != SQLITE_DONE) fail(step);
  // The session's order is that of a table of hashes: the record's is that of the rows.
  std::sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) {
    return std::tie(a.isPut, a.table, a.row) < std::tie(b.isPut, b.table, b.row);
  });
  return changes;
}

}  // namespace folder_host
