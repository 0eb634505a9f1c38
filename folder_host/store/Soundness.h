#pragma once

#include <SQLiteCpp/Database.h>

namespace folder_host {

// Whether the tables of a store are whole and fit together: every node has its parent, every value its node, every
// label its category, every attachment its label and a path that an entry can have; and each value is of the type that
// a store has it in. What is damaged may have lost a label or a rule, or hide one from the filters: nothing is decided
// by it, and nothing added. Takes time in proportion to the store. Errors: SQLite::Exception.
bool isSound(SQLite::Database& database);

}  // namespace folder_host
