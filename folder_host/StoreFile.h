#pragma once

#include <SQLiteCpp/Database.h>

#include <string>

#include "folder_host/Error.h"

// Store files: how they are made, told from others and opened. What a Store does once it has its database is not here.
namespace folder_host {

// The refusal that an SQLite result code stands for: STORE_UNREADABLE for a damaged file, else STORE_FAILED.
Error storeFailure(int result, const std::string& message);
Error storeFailure(int result);
Error storeFailure(const SQLite::Exception& error);

// Makes an empty file for its owner only, which becomes a store when it is written. Errors: STORE_FAILED,
// PATH_TOO_LONG.
void createStoreFile(const std::string& file);

// Gives an empty database the tables of a store. Errors: SQLite::Exception.
void createTables(SQLite::Database& database);

// Errors: STORE_UNREADABLE, STORE_TOO_NEW, PATH_TOO_LONG; nothing is written.
SQLite::Database openStoreFile(const std::string& file);

}  // namespace folder_host
