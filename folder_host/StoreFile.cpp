#include "folder_host/StoreFile.h"

#include <SQLiteCpp/Column.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "folder_host/Failure.h"
#include "folder_host/Soundness.h"

namespace folder_host {

namespace {

constexpr int BUSY_TIMEOUT_MS = 30000;
constexpr int APPLICATION_ID = 0x50736872;
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

// The store's tables, what hangs on them, and what runs by itself.
constexpr const char* SCHEMA = R"(
SELECT group_concat(sql) FROM (SELECT sql FROM sqlite_schema WHERE type NOT IN ('table', 'index')
  OR tbl_name IN ('node', 'node_value', 'category', 'label', 'attachment') ORDER BY name))";

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
}

// A view may have no end, a trigger or an index of a stranger undo in silence what is written.
bool isSchemaOurs(SQLite::Database& database) {
  SQLite::Database ours(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  createTables(ours);
  return database.execAndGet(SCHEMA).getString() == ours.execAndGet(SCHEMA).getString();
}

void checkContent(SQLite::Database& database, const std::string& file) {
  if (database.execAndGet("PRAGMA application_id").getInt() != APPLICATION_ID) {
    throw Error(errors::STORE_UNREADABLE, inQuotes(file) + " is not the store of a project");
  }
  const int version = database.execAndGet("PRAGMA user_version").getInt();
  if (version > VERSION) {
    throw Error(errors::STORE_TOO_NEW,
                "the store " + inQuotes(file) + " was written by a newer version of this program");
  }
  if (version < VERSION) throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is incomplete");
  if (!isSchemaOurs(database) || !isSound(database)) {
    throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is damaged");
  }
}

}  // namespace

Error storeFailure(int result, const std::string& message) {
  const int primary = result & 0xFF;
  const bool damaged = primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
  return {damaged ? errors::STORE_UNREADABLE : errors::STORE_FAILED, "the project's store failed: " + message};
}

Error storeFailure(int result) { return storeFailure(result, sqlite3_errstr(result)); }

Error storeFailure(const SQLite::Exception& error) { return storeFailure(error.getErrorCode(), error.what()); }

void createStoreFile(const std::string& file) {
  checkLength(file);
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (descriptor < 0) throw systemFailure(errors::STORE_FAILED, "cannot make the store", file, errno);
  ::close(descriptor);
}

void createTables(SQLite::Database& database) {
  database.exec("BEGIN");
  database.exec("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
  database.exec("PRAGMA user_version = " + std::to_string(VERSION));
  database.exec(TABLES);
  database.exec("COMMIT");
}

SQLite::Database openStoreFile(const std::string& file) {
  checkLength(file);
  checkRegularFile(file);
  try {
    SQLite::Database database(file.c_str(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, BUSY_TIMEOUT_MS);
    checkContent(database, file);
    return database;
  } catch (const SQLite::Exception& error) {
    if ((error.getErrorCode() & 0xFF) == SQLITE_BUSY) throw storeFailure(error);
    throw Error(errors::STORE_UNREADABLE, "cannot open the store " + inQuotes(file) + ": " + error.what());
  }
}

}  // namespace folder_host
