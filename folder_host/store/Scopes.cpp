#include "folder_host/store/Scopes.h"

#include <sqlite3.h>

#include <exception>
#include <string>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/StoreFile.h"

namespace folder_host {

using project::metadata::MetadataScopeGuard;

namespace {

Error notKept(int result) {
  return storeFailure(result, std::string("changes were not kept: ") + sqlite3_errstr(result));
}

}  // namespace

struct Scopes::Scope {
  enum class Level { transaction, savepoint, counted };

  bool write = false;
  int exceptions = 0;  // those in flight when it began
  Level level = Level::counted;
  bool stands = false;  // it is among the store's scopes
  bool ended = false;
  bool rolledBack = false;
};

ScopeEvents::~ScopeEvents() = default;

Scopes::Scopes(SQLite::Database& database, ScopeEvents* events)
    : database_(database),
      events_(events),
      savepoint_(database, "SAVEPOINT inner"),
      release_(database, "RELEASE inner") {}

Scopes::~Scopes() = default;

// The guard is made first and the transaction last: whatever fails between them finds a scope that ends like any other
// that an exception leaves.
MetadataScopeGuard Scopes::begin(bool write, std::shared_ptr<void> keepAlive) {
  confirm();
  if (write) requireWritable();
  const auto scope = std::make_shared<Scope>();
  scope->write = write;
  scope->exceptions = std::uncaught_exceptions();
  MetadataScopeGuard guard([this, scope, keptAlive = std::move(keepAlive)] { end(*scope); });
  scopes_.push_back(scope);
  scope->stands = true;
  enter(*scope);
  return guard;
}

// Outside any scope, each statement is a transaction of its own. Within one that SQLite has rolled back by itself, a
// statement would be kept though those before it are lost.
void Scopes::requireWritable() const {
  if (scopes_.empty()) return;
  if (!scopes_.front()->write) {
    throw Error(errors::WRITE_IN_READ_SCOPE, "the project's store cannot be changed within a read scope");
  }
  if (sqlite3_get_autocommit(database_.getHandle()) != 0) {
    throw storeFailure(SQLITE_ABORT, "an earlier failure has undone the changes of this scope");
  }
}

void Scopes::enter(Scope& scope) {
  try {
    if (scopes_.size() == 1) {
      scope.level = Scope::Level::transaction;
      if (events_ != nullptr) events_->willBegin(scope.write);
      // A transaction that begins as a read and becomes a write is refused at once where another one writes, however
      // long it would have been ready to wait. One that says so from the beginning waits.
      database_.exec(scope.write ? "BEGIN IMMEDIATE" : "BEGIN");
      // A deferred transaction sees the state of its first read.
      if (!scope.write) database_.execAndGet("SELECT count(*) FROM sqlite_schema");
      if (events_ != nullptr) events_->hasBegun(scope.write);
      if (scope.write && events_ != nullptr) recording_.emplace(database_);
    } else if (scope.write) {
      // A statement that ran before has to be reset before it runs again.
      savepoint_.tryReset();
      savepoint_.exec();
      scope.level = Scope::Level::savepoint;
    }
  } catch (const SQLite::Exception& error) {
    throw storeFailure(error);
  }
}

// Guards may go in any order, and a savepoint cannot end before those within it: a scope that has ended waits for the
// ones that began after it.
void Scopes::end(Scope& scope) noexcept {
  if (!scope.stands) return;
  scope.ended = true;
  // A guard is not told why it ends. More exceptions in flight than when it began mean that one ends it; any exception
  // would not do, as a scope may begin and end within a destructor that an exception runs.
  scope.rolledBack = std::uncaught_exceptions() > scope.exceptions;
  while (!scopes_.empty() && scopes_.back()->ended) {
    finish(*scopes_.back());
    scopes_.pop_back();
  }
}

// A guard's destructor cannot throw. What fails here is remembered, and the next use of the store tells it.
void Scopes::finish(const Scope& scope) noexcept {
  if (scope.level == Scope::Level::counted) return;
  const bool isOutermost = scope.level == Scope::Level::transaction;
  if (scope.rolledBack || !(isOutermost ? commit(scope) : release())) undo(scope);
  if (isOutermost && scope.write && events_ != nullptr) events_->hasEnded();
}

// The record stands in the transaction that it is about: an edit is kept with its entry in the log, or neither is. A
// lock that could not be given back, which is done last, leaves the changes as kept as they are.
bool Scopes::commit(const Scope& scope) noexcept {
  bool isKept = false;
  try {
    if (scope.write && recording_) {
      const Changes changes = recording_->changes();
      recording_.reset();
      isKept = events_->keepEdit(changes);
    }
    if (database_.tryExec("COMMIT") == SQLITE_OK) return true;
    const int detail = database_.getExtendedErrorCode();
    if (detail == SQLITE_IOERR_UNLOCK || detail == SQLITE_IOERR_RDLOCK) return true;
    if (!isKept) throw notKept(detail);
  } catch (...) {
    remember(std::current_exception());
  }
  return false;
}

bool Scopes::release() noexcept {
  release_.tryReset();
  const int result = release_.tryExecuteStep();
  if (result != SQLITE_DONE) remember(result);
  return result == SQLITE_DONE;
}

void Scopes::undo(const Scope& scope) noexcept {
  if (scope.level == Scope::Level::transaction) recording_.reset();
  // After some failures SQLite has rolled back by itself.
  if (sqlite3_get_autocommit(database_.getHandle()) != 0) return;
  // To roll back to a savepoint leaves it standing: it has to be released as well, or the next RELEASE would end the
  // wrong one.
  const bool whole = scope.level == Scope::Level::transaction;
  const int result = database_.tryExec(whole ? "ROLLBACK" : "ROLLBACK TO inner; RELEASE inner");
  if (result != SQLITE_OK) remember(result);
}

void Scopes::remember(int result) noexcept {
  try {
    throw notKept(result);
  } catch (...) {
    remember(std::current_exception());
  }
}

// The first failure is told: those behind it mostly follow from it.
void Scopes::remember(std::exception_ptr failure) noexcept {
  if (!failure_) failure_ = std::move(failure);
}

void Scopes::confirm() {
  if (!failure_) return;
  try {
    std::rethrow_exception(std::exchange(failure_, nullptr));
  } catch (const SQLite::Exception& error) {
    throw notKept(error.getErrorCode());
  } catch (const Error&) {
    throw;
  } catch (const std::exception&) {
    throw notKept(SQLITE_NOMEM);
  }
}

}  // namespace folder_host
