#pragma once

#include <SQLiteCpp/Database.h>

namespace folder_host {

// What is damaged may have lost a label or a rule, or hide one from the filters: nothing is decided by it, and nothing
// added. Both take time in proportion to the store. Errors: SQLite::Exception.

// Whether each table and index, of a store of any version, holds what SQLite has put there.
bool isIntact(SQLite::Database& database);

// Whether the rows of an intact store of SCHEMA_VERSION fit together: every node has its parent, every value its node,
// every label its category, every mark and rule its label, and a path that an entry can have or a pattern; and each
// value is of the type that a store has it in.
bool isSound(SQLite::Database& database);

}  // namespace folder_host
