#pragma once

#include <string_view>

namespace SQLite {
class Database;
}

// The tables of a store, as each version of the program made them. A version differs from the one before by the
// statements of one step, and every store, a new one too, has come to be by all steps in their order: so the text of
// its schema is known to the byte, and whatever else a file holds is a stranger's. All functions may throw
// SQLite::Exception.
namespace folder_host {

// Of the stores that this program makes and uses; the first version was 1. How to add one: docs/stored-format.md.
inline constexpr int SCHEMA_VERSION = 4;

// The statement that a store of any version begins with, when it is written as SQL, begins so.
inline constexpr std::string_view FIRST_STATEMENT = "CREATE TABLE node(parent BLOB";

// Whether the schema of a database that nobody vouches for is that of the version, 1 to SCHEMA_VERSION. To be asked
// before anything but PRAGMAs that read the header: a view may have no end, a trigger or an index of a stranger undo in
// silence what is written. However large the schema is made, the answer takes little time and memory, or it is that
// SQLite gives up: SQLITE_INTERRUPT, SQLITE_TOOBIG.
bool hasSchema(SQLite::Database& database, int version);

// Makes a store of SCHEMA_VERSION from one of the version, whose schema it has, or from an empty database, whose
// version is 0. The caller opens the transaction, and ends it.
void bringUpToDate(SQLite::Database& database, int version);

}  // namespace folder_host
