#pragma once

#include <SQLiteCpp/Database.h>

#include <functional>
#include <memory>
#include <string>

#include "folder_host/Error.h"
#include "folder_host/store/StoreVfs.h"

// Store files: how they are told from others and opened. What a Store does once it has its database is not here.
namespace folder_host {

// The refusal that an SQLite result code stands for: STORE_UNREADABLE for a damaged file, else STORE_FAILED.
Error storeFailure(int result, const std::string& message);
Error storeFailure(int result);
Error storeFailure(const SQLite::Exception& error);

// A connection, and what it sees of the disk; in memory, nothing.
struct StoreDatabase {
  std::unique_ptr<StoreVfs> vfs;
  SQLite::Database database;
};

// Errors: STORE_UNREADABLE, STORE_TOO_NEW, STORE_FAILED (locked for too long), PATH_TOO_LONG; nothing is written but
// what a journal of the store's own restores.
// Before anything in the file is looked at, `check` is given its folder; what it throws passes.
StoreDatabase openStoreFile(const std::string& file, const std::function<void(const Descriptor&)>& check = nullptr);

// An empty database in memory. Errors: SQLite::Exception.
StoreDatabase openInMemory();

// Gives an empty database the tables of a store. Errors: SQLite::Exception.
void createTables(SQLite::Database& database);

}  // namespace folder_host
