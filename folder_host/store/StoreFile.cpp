#include "folder_host/store/StoreFile.h"

#include <SQLiteCpp/Backup.h>
#include <SQLiteCpp/Column.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Listing.h"
#include "folder_host/store/Schema.h"
#include "folder_host/store/Soundness.h"

namespace folder_host {

namespace {

constexpr int BUSY_TIMEOUT_MS = 30000;
constexpr const char* OPENING = "cannot open the store";

// SQLite takes no longer paths, the journal's beside the store included.
void checkLength(const std::string& file) {
  constexpr std::size_t LONGEST = 500;
  if (file.size() <= LONGEST) return;
  throw Error(errors::PATH_TOO_LONG, "a project cannot lie as deep as " + inQuotes(file) + "; move it further up");
}

void checkRegularFile(const std::string& file) {
  struct stat status {};
  attempt(errors::STORE_UNREADABLE, OPENING, file, [&] { check(::lstat(file.c_str(), &status)); });
  if (!S_ISREG(status.st_mode))
    throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is not a file; take it from a backup");
  // A few kilobytes could else take all memory. Disks that compress do not by so much.
  constexpr off_t BLOCK = 512, MUCH = off_t{1} << 24U, MOST_TO_ONE = 256;
  if (status.st_size > MUCH && status.st_size / MOST_TO_ONE > status.st_blocks * BLOCK) {
    throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is nearly all holes; ask who made it");
  }
}

// Makes the connection do nothing that a file asks for by itself, and keep in memory what it needs for a while.
void guard(SQLite::Database& database) {
  // The schema is compared as well. These hold should anything ever get by that.
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

// Nothing is created: where the store is missing, SQLite would make an empty one, and only init makes stores. No link
// is followed: in the store's place it could lead to any database of the user.
SQLite::Database connect(const StoreVfs& vfs) {
  SQLite::Database database(vfs.file().c_str(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, BUSY_TIMEOUT_MS,
                            vfs.name());
  guard(database);
  return database;
}

SQLite::Database connectToMemory() {
  SQLite::Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  guard(database);
  return database;
}

Error damaged(const std::string& file) {
  return {errors::STORE_UNREADABLE,
          "the store " + inQuotes(file) + " is damaged, or of another make; take it from a backup"};
}

// The version of a store that is ours and whole. To be called in a transaction, so that what is looked at is one state.
// The order is the defence: nothing of a file is run, and no row of it believed, before its schema was found to be ours
// byte by byte. A stranger's schema can hold a view without an end, or a trigger that undoes in silence what is
// written.
int checkedVersion(SQLite::Database& database, const std::string& file) {
  if (database.execAndGet("PRAGMA application_id").getInt() != static_cast<int>(STORE_ID)) {
    throw Error(errors::STORE_UNREADABLE, inQuotes(file) + " is not the store of a project; take that from a backup");
  }
  const int version = database.execAndGet("PRAGMA user_version").getInt();
  if (version > SCHEMA_VERSION) {
    throw Error(errors::STORE_TOO_NEW,
                "the store " + inQuotes(file) + " was written by a newer version of this program; use that one");
  }
  if (version < 1)
    throw Error(errors::STORE_UNREADABLE, "the store " + inQuotes(file) + " is incomplete; take it from a backup");
  if (!hasSchema(database, version) || !isIntact(database)) throw damaged(file);
  return version;
}

// Makes a store that is whole one of SCHEMA_VERSION, in the caller's transaction.
void prepare(SQLite::Database& database, const std::string& file, int version) {
  bringUpToDate(database, version);
  if (!isSound(database)) throw damaged(file);
}

// All at once or not at all; of two processes that do it, the second waits and finds it done. False, and nothing is
// done, where nothing can be written there.
bool upgradeFile(SQLite::Database& database, const std::string& file) {
  database.exec("BEGIN IMMEDIATE");
  const int version = checkedVersion(database, file);
  try {
    prepare(database, file, version);
    database.exec("COMMIT");
    return true;
  } catch (const SQLite::Exception& error) {
    database.tryExec("ROLLBACK");
    if ((error.getErrorCode() & 0xFF) == SQLITE_READONLY) return false;
    throw Error(errors::STORE_FAILED, "the store " + inQuotes(file) +
                                          " is of an older version, and cannot be brought " +
                                          "up to date: " + sqlite3_errstr(error.getExtendedErrorCode()));
  }
}

// A store of an older version, as it stood when it was opened, where the file has to stay as it is: to be read.
// Whatever would change it fails as it does in a file that cannot be written.
StoreDatabase upgradedCopy(SQLite::Database& database, const std::string& file) {
  StoreDatabase copy = copyInMemory(database);
  prepare(copy.database, file, checkedVersion(copy.database, file));
  copy.database.exec("PRAGMA query_only = ON");
  return copy;
}

// In words that no file has chosen.
Error openingFailure(const std::string& file, const StoreVfs& vfs, const SQLite::Exception& error) {
  const std::string store = "the store " + inQuotes(file);
  const int code = error.getErrorCode() & 0xFF;
  if (vfs.refusal() != nullptr) return {errors::STORE_UNREADABLE, store + " " + vfs.refusal()};
  if (code == SQLITE_BUSY) return storeFailure(code);
  // These come of the bounds within which the schema is read: it is longer than any of ours.
  if (code == SQLITE_INTERRUPT || code == SQLITE_TOOBIG) return damaged(file);
  return {errors::STORE_UNREADABLE, "cannot open " + store + ": " + sqlite3_errstr(error.getExtendedErrorCode())};
}

}  // namespace

// What another try may mend, such as a lock or a full disk, is told apart from a file that is broken for good.
Error storeFailure(int result, const std::string& message) {
  const int primary = result & 0xFF;
  const bool damaged = primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
  return {damaged ? errors::STORE_UNREADABLE : errors::STORE_FAILED, "the project's store failed: " + message};
}

Error storeFailure(int result) { return storeFailure(result, sqlite3_errstr(result)); }

Error storeFailure(const SQLite::Exception& error) { return storeFailure(error.getErrorCode(), error.what()); }

// From the outside in: the name, what it stands for, and whose the folder is. Only then does SQLite get the file,
// because it rolls a journal back before it gives anything to look at.
StoreDatabase openStoreFile(const std::string& file, const std::function<void(const Descriptor&)>& checkFolder) {
  checkLength(file);
  checkRegularFile(file);
  auto vfs = attempt(errors::STORE_UNREADABLE, OPENING, file, [&] { return std::make_unique<StoreVfs>(file); });
  if (checkFolder) checkFolder(vfs->folder());
  try {
    SQLite::Database database = connect(*vfs);
    database.exec("BEGIN");
    const int version = checkedVersion(database, file);
    if (version == SCHEMA_VERSION) prepare(database, file, version);
    database.exec("COMMIT");
    // Looked at in a read transaction first: a store of today is opened without a lock that would keep others out, and
    // a strange one is refused before anything is written.
    if (version < SCHEMA_VERSION && !upgradeFile(database, file)) {
      StoreDatabase copy = upgradedCopy(database, file);
      copy.vfs = std::move(vfs);  // what lies beside the file is still the project's
      return copy;
    }
    return {std::move(vfs), std::move(database)};
  } catch (const SQLite::Exception& error) {
    throw openingFailure(file, *vfs, error);
  }
}

StoreDatabase emptyStore() {
  SQLite::Database database = connectToMemory();
  database.exec("BEGIN");
  bringUpToDate(database, 0);
  database.exec("COMMIT");
  return {nullptr, std::move(database)};
}

StoreDatabase copyInMemory(SQLite::Database& database) {
  SQLite::Database copy = connectToMemory();
  const int result = SQLite::Backup(copy, database).executeStep();
  if (result != SQLITE_DONE) throw storeFailure(result);
  return {nullptr, std::move(copy)};
}

}  // namespace folder_host
