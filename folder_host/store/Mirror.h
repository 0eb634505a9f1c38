#pragma once

#include <SQLiteCpp/Database.h>

#include <memory>
#include <utility>
#include <vector>

#include "folder_host/store/Origin.h"

namespace folder_host {

// The last edit of the log is the state that a store is in. Errors: SQLite::Exception.
Position positionOf(SQLite::Database& database);

// False where the log has that number already. Errors: SQLite::Exception.
bool addEdit(SQLite::Database& database, const Edit& edit);

// All of a store, its log included. Errors: SQLite::Exception, STORE_UNREADABLE.
Update wholeOf(SQLite::Database& database);

// Makes a store what a whole update says, in a transaction of the caller's. False where the update does not fit
// together. Errors: SQLite::Exception.
bool replaceWhole(SQLite::Database& database, const Update& update);

// Keeps a database what its origin is. Several processes may have one database as their mirror. Errors: those of the
// origin; STORE_UNREADABLE, what it sends does not fit together; STORE_FAILED.
class Mirror {
 public:
  // The database, a store of SCHEMA_VERSION, outlives this object.
  Mirror(SQLite::Database& database, std::shared_ptr<Origin> origin)
      : database_(database), origin_(std::move(origin)) {}

  // Brings the database up to date. None of them may be called while it has a transaction open, but publish.
  void read();
  // Nobody else edits until publish or release.
  void lock();
  // Of the edits that were seen, those that the origin has not. Of what its log does not reach back to, nothing is
  // known.
  std::vector<Edit> lost();
  // Also where the known position is none of the origin's states.
  void readAnew();

  void publish(const Edit& edit, bool isLast) { origin_->publish(edit, isLast); }
  void release() noexcept { origin_->release(); }

 private:
  template <class Ask>
  void catchUp(const Ask& ask);
  bool take(const Update& update);

  SQLite::Database& database_;
  std::shared_ptr<Origin> origin_;
};

}  // namespace folder_host
