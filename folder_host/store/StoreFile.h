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

// Opens a store file and brings it up to date where it is of an older version (see Schema.h). One that may not be
// written, or lies where nothing can be, is only to be read: what would change it fails. When it is of an older version
// as well, what is read is a copy in memory, which is brought up to date there: it shows no change that others make
// from now on.
// Errors: STORE_UNREADABLE, STORE_TOO_NEW, STORE_FAILED (locked for too long, or it cannot be brought up to date),
// PATH_TOO_LONG. Then the file is as it was, but for what a journal of its own restores.
// Before anything in the file is looked at, `checkFolder` is given its folder; what it throws passes.
StoreDatabase openStoreFile(const std::string& file,
                            const std::function<void(const Descriptor&)>& checkFolder = nullptr);

// A store with nothing in it, in memory. Errors: SQLite::Exception.
StoreDatabase emptyStore();

// The content of a store, in memory. Errors: SQLite::Exception, STORE_FAILED.
StoreDatabase copyInMemory(SQLite::Database& database);

}  // namespace folder_host
