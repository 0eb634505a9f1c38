#pragma once

#include <SQLiteCpp/Database.h>

namespace folder_host {

// Whether the tables of a store are whole and fit together: every node has its parent, every value its node, every
// label its category, every attachment its label. What is damaged may have lost a label or a rule, or hide one from the
// filters: nothing is decided by it, and nothing added. Errors: SQLite::Exception.
bool isSound(SQLite::Database& database);

}  // namespace folder_host
