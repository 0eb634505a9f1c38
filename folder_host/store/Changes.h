#pragma once

#include <SQLiteCpp/Database.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// The record of what an edit changed in a store: the log has it, and an edit is taken back by it.
namespace folder_host {

// The tables that people edit, each behind those that its rows need. Recorded changes have these numbers: none is ever
// given another meaning.
enum class StoreTable { node, nodeValue, category, label, mark, rule };

inline constexpr std::size_t TABLES = 6;

// A row that an edit put into a table, or one that was there before it and is gone. What it changed in a row is a row
// gone and a row put.
struct Change {
  StoreTable table;
  bool isPut;
  std::vector<std::string> row;  // a text a column: bytes as they are, numbers by their digits
};

inline bool operator==(const Change& a, const Change& b) {
  return std::tie(a.table, a.isPut, a.row) == std::tie(b.table, b.isPut, b.row);
}

// Whether it is about a node right below the root. Such a node holds nothing itself, and whoever makes a node in it
// makes it, too: edits are not in each other's way by it, and to take an edit back leaves it as it is.
bool isTopNode(const Change& change);

// Rows gone first, and by table.
using Changes = std::vector<Change>;

// The statements for one table; a row's columns are bound as they stand.
struct TableSql {
  const char* put;
  const char* remove;  // the very row, with all its columns
  std::size_t columns;
};
const TableSql& sqlOf(StoreTable table);

// Makes the changes, in a transaction of the caller's. False where a row to be taken out is not there, or one to be put
// is there already; some of them are made then. Errors: SQLite::Exception.
bool makeChanges(SQLite::Database& database, const Changes& changes);

// All rows, as rows put. Errors: SQLite::Exception.
Changes contentOf(SQLite::Database& database);

// The bytes of a record, and back; none of bytes that are not all of one.
std::string bytesOf(const Changes& changes);
std::optional<Changes> changesIn(std::string_view bytes);

// An entry of the log.
struct Edit {
  std::int64_t number = 0;  // from 1, in their order
  std::string id;           // a UUID
  std::int64_t at = 0;      // milliseconds since 1970
  std::string user;
  std::string machine;
  std::string words;    // that were typed; cut to 64 KiB
  std::string undoes;   // the id of the edit that it took back; empty
  std::string settled;  // see EditNote
  Changes changes;
  bool isTakenBack = false;  // by another one, which is not taken back itself
};

// Who edits: what the log says of each edit.
struct Author {
  std::string user;
  std::string machine;
  std::string words = {};  // that were typed; empty where a program edits
};

// The user of this process on this machine, as the system names them; empty where it does not.
Author thisUser();

// An entry with an id of its own, of now, that says nothing of changes.
Edit editBy(const Author& author, std::int64_t number);

// What an outermost write scope says of itself.
struct EditNote {
  std::string undoes = {};   // the id of the edit that it takes back
  std::string settled = {};  // what the folder is to remember again should it be taken back; bytes of the caller's
  bool settles = false;      // that alone makes it an edit; else it goes along with what is changed
};

// Watches what is changed through one connection as long as it is there. Errors: SQLite::Exception.
class Recording {
 public:
  // The database outlives this object.
  explicit Recording(SQLite::Database& database);
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  // All that is now other than it was; what was changed back is not among it.
  Changes changes() const;

 private:
  struct Session;

  SQLite::Database& database_;
  std::unique_ptr<Session> session_;
};

}  // namespace folder_host
