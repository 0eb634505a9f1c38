#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "folder_host/store/Changes.h"
#include "project/metadata/MetadataScopeGuard.h"

namespace folder_host {

// What an outermost scope does beyond its transaction.
class ScopeEvents {
 public:
  virtual ~ScopeEvents();

  // Before the transaction is begun, and in it, when it holds others off. Where one of them throws, there is no scope.
  virtual void willBegin(bool write) = 0;
  virtual void hasBegun(bool write) = 0;
  // Before the commit of a write scope, given what it has changed; what is written here belongs to it. Where it throws,
  // nothing is kept. True: the changes are kept elsewhere by now, whatever becomes of the commit.
  virtual bool keepEdit(const Changes& changes) = 0;
  // After the end of a write scope, whatever that was; also where it could not begin.
  virtual void hasEnded() noexcept = 0;
};

// The scopes that are open on one connection, the outermost first, and the transaction and savepoints behind them. See
// Store for what a scope means.
class Scopes {
 public:
  // The database and the events outlive this object and its scopes. Without events, nothing is recorded.
  Scopes(SQLite::Database& database, ScopeEvents* events);
  ~Scopes();
  Scopes(const Scopes&) = delete;
  Scopes& operator=(const Scopes&) = delete;

  // `keepAlive` is held until the scope has ended. Errors: WRITE_IN_READ_SCOPE, STORE_FAILED.
  project::metadata::MetadataScopeGuard begin(bool write, std::shared_ptr<void> keepAlive);

  // Throws the failure of a commit or a roll-back that nobody has been told of yet, once.
  void confirm();

  bool areOpen() const noexcept { return !scopes_.empty(); }

  // Throws where nothing may be written: WRITE_IN_READ_SCOPE, or STORE_FAILED when an earlier failure has ended the
  // transaction under its scopes, so that a change would be kept whatever becomes of them.
  void requireWritable() const;

 private:
  struct Scope;

  void enter(Scope& scope);
  void end(Scope& scope) noexcept;
  void finish(const Scope& scope) noexcept;
  bool commit(const Scope& scope) noexcept;
  bool release() noexcept;
  void undo(const Scope& scope) noexcept;
  void remember(int result) noexcept;
  void remember(std::exception_ptr failure) noexcept;

  SQLite::Database& database_;
  ScopeEvents* const events_;
  std::optional<Recording> recording_;  // of the outermost write scope
  SQLite::Statement savepoint_;         // prepared once: within a scope each single change is a scope of its own
  SQLite::Statement release_;
  std::vector<std::shared_ptr<Scope>> scopes_;
  std::exception_ptr failure_;
};

}  // namespace folder_host
