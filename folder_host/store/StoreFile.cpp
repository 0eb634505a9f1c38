#include "folder_host/store/StoreFile.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/files/Listing.h"
#include "folder_host/store/Soundness.h"

namespace folder_host {

namespace {

constexpr int BUSY_TIMEOUT_MS = 30000;
constexpr int VERSION = 1;

// Keyed by blobs throughout: a row number would tell how many rows are gone.
constexpr const char* TABLES = R"(
CREATE TABLE node(parent BLOB NOT NULL, type BLOB NOT NULL, location BLOB NOT NULL,
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

// SQLite takes no longer paths, the journal's beside the store included.
void checkLength(const std::string& file) {
  constexpr std::size_t LONGEST = 500;
  if (file.size() <= LONGEST) return;
  throw Error(errors::PATH_TOO_LONG, "a project cannot lie as deep as " + inQuotes(file) + "; move it further up");
}

void checkRegularFile(const std::string& file) {
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0) {
    throw systemFailure(errors::STORE_UNREADABLE, "cannot open the store", file, errno);
  }
  if (!S_ISREG(status.st_mode)) throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is not a file");
  // A few kilobytes could else take all memory. Disks that compress do not by so much.
  constexpr off_t BLOCK = 512, MUCH = off_t{1} << 24U, MOST_TO_ONE = 256;
  if (status.st_size > MUCH && status.st_size / MOST_TO_ONE > status.st_blocks * BLOCK) {
    throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is nearly all holes; ask who made it");
  }
}

// Makes the connection do nothing that a file asks for by itself, and keep in memory what it needs for a while.
void guard(SQLite::Database& database) {
  constexpr std::array<std::pair<int, int>, 4> SETTINGS = {{{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                                            {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                                            {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                                            {SQLITE_DBCONFIG_ENABLE_VIEW, 0}}};
  for (const auto& [setting, value] : SETTINGS) {
    sqlite3_db_config(database.getHandle(), setting, value, nullptr);
  }
  database.exec("PRAGMA temp_store = MEMORY");
  database.exec("PRAGMA cell_size_check = ON");
}

SQLite::Database connect(const StoreVfs& vfs) {
  SQLite::Database database(vfs.file().c_str(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, BUSY_TIMEOUT_MS,
                            vfs.name());
  guard(database);
  return database;
}

using SchemaRow = std::array<std::string, 4>;

// Sorted; nothing where a value is no text.
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

// A view may have no end, a trigger or an index of a stranger undo in silence what is written, a constraint never come
// to an end. Ours are few and short: what is not ends the reading, for a page of them can be there any number of times.
bool isSchemaOurs(SQLite::Database& database) {
  constexpr int MOST_STEPS = 1000;
  constexpr int LONGEST = 1000;
  StoreDatabase ours = openInMemory();
  createTables(ours.database);
  sqlite3* const handle = database.getHandle();
  const int usual = sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, LONGEST);
  sqlite3_progress_handler(
      handle, MOST_STEPS, [](void*) { return 1; }, nullptr);
  const bool same = schemaOf(database) == schemaOf(ours.database);
  sqlite3_progress_handler(handle, 0, nullptr, nullptr);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, usual);
  return same;
}

Error damaged(const std::string& file) {
  return {errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is damaged, or of another make"};
}

void checkContent(SQLite::Database& database, const std::string& file) {
  database.exec("BEGIN");  // what is looked at is one state
  if (database.execAndGet("PRAGMA application_id").getInt() != static_cast<int>(STORE_ID)) {
    throw Error(errors::STORE_UNREADABLE, inQuotes(file) + " is not the store of a project");
  }
  const int version = database.execAndGet("PRAGMA user_version").getInt();
  if (version > VERSION) {
    throw Error(errors::STORE_TOO_NEW,
                "the store " + inQuotes(file) + " was written by a newer version of this program");
  }
  if (version < VERSION) throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is incomplete");
  if (!isSchemaOurs(database) || !isSound(database)) {
    throw damaged(file);
  }
  database.exec("COMMIT");
}

// In words that no file has chosen.
Error openingFailure(const std::string& file, const StoreVfs& vfs, const SQLite::Exception& error) {
  const std::string store = "the store " + inQuotes(file);
  const int code = error.getErrorCode() & 0xFF;
  if (vfs.refusal() != nullptr) return {errors::STORE_UNREADABLE, store + " " + vfs.refusal()};
  if (code == SQLITE_BUSY) return storeFailure(code);
  if (code == SQLITE_INTERRUPT || code == SQLITE_TOOBIG) return damaged(file);
  return {errors::STORE_UNREADABLE, "cannot open " + store + ": " + sqlite3_errstr(error.getExtendedErrorCode())};
}

}  // namespace

Error storeFailure(int result, const std::string& message) {
  const int primary = result & 0xFF;
  const bool damaged = primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
  return {damaged ? errors::STORE_UNREADABLE : errors::STORE_FAILED, "the project's store failed: " + message};
}

Error storeFailure(int result) { return storeFailure(result, sqlite3_errstr(result)); }

Error storeFailure(const SQLite::Exception& error) { return storeFailure(error.getErrorCode(), error.what()); }

StoreDatabase openStoreFile(const std::string& file, const std::function<void(const Descriptor&)>& check) {
  checkLength(file);
  checkRegularFile(file);
  std::unique_ptr<StoreVfs> vfs;
  try {
    vfs = std::make_unique<StoreVfs>(file);
  } catch (const std::system_error& error) {
    throw systemFailure(errors::STORE_UNREADABLE, "cannot open the store", file, error.code().value());
  }
  if (check) check(vfs->folder());
  try {
    SQLite::Database database = connect(*vfs);
    checkContent(database, file);
    return {std::move(vfs), std::move(database)};
  } catch (const SQLite::Exception& error) {
    throw openingFailure(file, *vfs, error);
  }
}

StoreDatabase openInMemory() {
  SQLite::Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  guard(database);
  return {nullptr, std::move(database)};
}

void createTables(SQLite::Database& database) {
  database.exec("BEGIN");
  database.exec("PRAGMA application_id = " + std::to_string(STORE_ID));
  database.exec("PRAGMA user_version = " + std::to_string(VERSION));
  database.exec(TABLES);
  database.exec("COMMIT");
}

}  // namespace folder_host
