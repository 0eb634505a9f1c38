#include "folder_host/store/Mirror.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/Soundness.h"
#include "folder_host/store/StoreFile.h"

namespace folder_host {

namespace {

// Rolls back unless it was committed.
class Transaction {
 public:
  explicit Transaction(SQLite::Database& database) : database_(database) { database.exec("BEGIN IMMEDIATE"); }
  ~Transaction() {
    if (sqlite3_get_autocommit(database_.getHandle()) == 0) database_.tryExec("ROLLBACK");
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit() { database_.exec("COMMIT"); }

 private:
  SQLite::Database& database_;
};

void bindText(SQLite::Statement& statement, int index, const std::string& text) {
  statement.bindNoCopy(index, text.data(), static_cast<int>(text.size()));
}

}  // namespace

Position positionOf(SQLite::Database& database) {
  SQLite::Statement last(database, "SELECT number, id FROM edit ORDER BY number DESC LIMIT 1");
  if (!last.executeStep()) return {};
  return {last.getColumn(0).getInt64(), last.getColumn(1).getString()};
}

bool addEdit(SQLite::Database& database, const Edit& edit) {
  SQLite::Statement statement(database, "INSERT INTO edit VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)");
  const std::string changes = bytesOf(edit.changes);
  statement.bind(1, edit.number);
  statement.bind(3, edit.at);
  int index = 0;
  for (const std::string* text :
       {&edit.id, &edit.user, &edit.machine, &edit.words, &edit.undoes, &edit.settled, &changes}) {
    bindText(statement, index == 0 ? 2 : index + 3, *text);
    ++index;
  }
  const int result = statement.tryExecuteStep();
  if ((result & 0xFF) == SQLITE_CONSTRAINT) return false;
  if (result != SQLITE_DONE) throw SQLite::Exception(database.getHandle(), result);
  return true;
}

Update wholeOf(SQLite::Database& database) {
  Update whole{true, contentOf(database), {}};
  SQLite::Statement rows(database,
                         "SELECT number, at, id, user, machine, words, undoes, settled, changes FROM edit "
                         "ORDER BY number");
  while (rows.executeStep()) {
    Edit& edit = whole.edits.emplace_back();
    edit.number = rows.getColumn(0).getInt64();
    edit.at = rows.getColumn(1).getInt64();
    int index = 2;
    for (std::string* text : {&edit.id, &edit.user, &edit.machine, &edit.words, &edit.undoes, &edit.settled}) {
      *text = rows.getColumn(index++).getString();
    }
    auto changes = changesIn(rows.getColumn(index).getString());
    if (!changes) throw storeFailure(SQLITE_CORRUPT, "its log is damaged");
    edit.changes = *std::move(changes);
  }
  return whole;
}

bool replaceWhole(SQLite::Database& database, const Update& update) {
  for (const char* table : {"node", "node_value", "category", "label", "mark", "rule", "edit"}) {
    database.exec(std::string("DELETE FROM ") + table);
  }
  if (!makeChanges(database, update.content)) return false;
  const auto add = [&](const Edit& edit) { return addEdit(database, edit); };
  return std::all_of(update.edits.begin(), update.edits.end(), add) && isSound(database);
}

// Whether the update fits onto what the database has. Another process may have brought it further since it was asked
// for, and by the same origin: then what it has taken is passed over.
bool Mirror::take(const Update& update) {
  if (!update.isWhole && update.edits.empty()) return true;
  Transaction transaction(database_);
  const Position now = positionOf(database_);
  if (update.isWhole) {
    if (!replaceWhole(database_, update)) return false;
  } else {
    for (const Edit& edit : update.edits) {
      if (edit.number == now.revision && edit.id != now.editId) return false;
      if (edit.number <= now.revision) continue;
      if (!makeChanges(database_, edit.changes) || !addEdit(database_, edit)) return false;
    }
    if (!isSound(database_)) return false;
  }
  transaction.commit();
  return true;
}

// What does not fit onto the mirror is asked for as a whole: the mirror may be at fault, which is only a copy.
template <class Ask>
void Mirror::catchUp(const Ask& ask) {
  try {
    if (take(ask(positionOf(database_)))) return;
    origin_->release();
    if (take(ask(Position()))) return;
  } catch (const SQLite::Exception& error) {
    origin_->release();
    throw storeFailure(error.getErrorCode(), std::string("its mirror in the cache folder: ") + error.what());
  } catch (...) {
    origin_->release();
    throw;
  }
  origin_->release();
  throw Error(errors::STORE_UNREADABLE,
              "what the server has of this project does not fit together; ask its administrator for a backup");
}

void Mirror::read() {
  catchUp([this](const Position& known) { return origin_->read(known); });
}

void Mirror::lock() {
  catchUp([this](const Position& known) { return origin_->lock(known); });
}

std::vector<Edit> Mirror::lost() {
  std::vector<Edit> edits = wholeOf(database_).edits;
  const std::vector<Edit> there = origin_->read({}).edits;
  std::set<std::string> ids;
  for (const Edit& edit : there) ids.insert(edit.id);
  const auto isThere = [&](const Edit& edit) { return edit.number < there.front().number || ids.count(edit.id) != 0; };
  edits.erase(std::remove_if(edits.begin(), edits.end(), isThere), edits.end());
  return edits;
}

void Mirror::readAnew() {
  catchUp([this](const Position&) { return origin_->read({}); });
}

}  // namespace folder_host
