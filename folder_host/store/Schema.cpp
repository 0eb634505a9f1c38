#include "folder_host/store/Schema.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Listing.h"

namespace folder_host {

namespace {

// Keyed by blobs throughout: a row number would tell how many rows are gone.
constexpr const char* FIRST_TABLES =
    R"(CREATE TABLE node(parent BLOB NOT NULL, type BLOB NOT NULL, location BLOB NOT NULL,
                  PRIMARY KEY(parent, type, location)) WITHOUT ROWID;
CREATE TABLE node_value(node BLOB NOT NULL, key BLOB NOT NULL, value BLOB NOT NULL,
                        PRIMARY KEY(node, key)) WITHOUT ROWID;
CREATE TABLE category(uuid BLOB NOT NULL PRIMARY KEY, name BLOB NOT NULL) WITHOUT ROWID;
CREATE TABLE label(uuid BLOB NOT NULL PRIMARY KEY, category BLOB NOT NULL, name BLOB NOT NULL,
                   kept INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;
CREATE INDEX label_by_category ON label(category);
CREATE TABLE attachment(path BLOB NOT NULL, label BLOB NOT NULL, PRIMARY KEY(path, label)) WITHOUT ROWID;
CREATE INDEX attachment_by_label ON attachment(label);
)";

// `kept` has become `protected`.
constexpr const char* PROTECTED_LABELS = R"(
CREATE TABLE before AS SELECT * FROM label;
DROP TABLE label;
CREATE TABLE label(uuid BLOB NOT NULL PRIMARY KEY, category BLOB NOT NULL, name BLOB NOT NULL,
                   protected INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;
CREATE INDEX label_by_category ON label(category);
INSERT INTO label SELECT * FROM before;
DROP TABLE before;
)";

// What was attached to a path was about that entry alone: MarkKind::entry. Rules of a label stand in their order.
constexpr const char* MARKS_AND_RULES = R"(
CREATE TABLE mark(path BLOB NOT NULL, label BLOB NOT NULL, kind INTEGER NOT NULL,
                  PRIMARY KEY(path, label)) WITHOUT ROWID;
CREATE INDEX mark_by_label ON mark(label);
CREATE TABLE rule(label BLOB NOT NULL, position INTEGER NOT NULL, pattern BLOB NOT NULL,
                  PRIMARY KEY(label, position)) WITHOUT ROWID;
INSERT INTO mark SELECT path, label, 0 FROM attachment;
DROP TABLE attachment;
)";

// The log. An edit's number is its place in it; nothing is ever taken out. Times are milliseconds since 1970; `undoes`
// is the id of another edit or empty; for `changes` see bytesOf, for `settled` EditNote.
constexpr const char* LOG = R"(
CREATE TABLE edit(number INTEGER NOT NULL PRIMARY KEY, id BLOB NOT NULL, at INTEGER NOT NULL, user BLOB NOT NULL,
                  machine BLOB NOT NULL, words BLOB NOT NULL, undoes BLOB NOT NULL, settled BLOB NOT NULL,
                  changes BLOB NOT NULL);
)";

// The n-th makes version n of version n - 1. None may ever be changed: stores that it made would be strange. A table
// whose columns change is made again. ALTER TABLE would write a text into the schema that is SQLite's choice, and
// another one, perhaps, tomorrow.
constexpr std::array<const char*, SCHEMA_VERSION> STEPS = {FIRST_TABLES, PROTECTED_LABELS, MARKS_AND_RULES, LOG};

static_assert(std::string_view(FIRST_TABLES).substr(0, FIRST_STATEMENT.size()) == FIRST_STATEMENT);

void runSteps(SQLite::Database& database, int from, int to) {
  for (int version = from; version < to; ++version) database.exec(STEPS[static_cast<std::size_t>(version)]);
}

using SchemaRow = std::array<std::string, 4>;

// Sorted; nothing where a value is no text. The order of the rows means nothing, and so must not make two schemas
// differ.
std::optional<std::vector<SchemaRow>> schemaOf(SQLite::Database& database) {
  std::vector<SchemaRow> rows;
  SQLite::Statement statement(database, "SELECT type, name, tbl_name, sql FROM sqlite_schema");
  while (statement.executeStep()) {
    SchemaRow& row = rows.emplace_back();
    for (int column = 0; column < statement.getColumnCount(); ++column) {
      if (!statement.getColumn(column).isText()) return std::nullopt;
      row[static_cast<std::size_t>(column)] = statement.getColumn(column).getString();
    }
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

}  // namespace

// Our rows are few and short: what is not ends the reading, for a page of them can be there any number of times.
bool hasSchema(SQLite::Database& database, int version) {
  constexpr int MOST_STEPS = 1000;
  constexpr int LONGEST = 1000;
  SQLite::Database ours(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  runSteps(ours, 0, version);
  sqlite3* const handle = database.getHandle();
  const int usual = sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, LONGEST);
  sqlite3_progress_handler(
      handle, MOST_STEPS, [](void*) { return 1; }, nullptr);
  const bool same = schemaOf(database) == schemaOf(ours);
  sqlite3_progress_handler(handle, 0, nullptr, nullptr);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, usual);
  return same;
}

void bringUpToDate(SQLite::Database& database, int version) {
  if (version == SCHEMA_VERSION) return;
  runSteps(database, version, SCHEMA_VERSION);
  database.exec("PRAGMA application_id = " + std::to_string(STORE_ID));
  database.exec("PRAGMA user_version = " + std::to_string(SCHEMA_VERSION));
}

}  // namespace folder_host
