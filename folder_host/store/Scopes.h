#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "folder_host/store/Changes.h"
#include "project/metadata/MetadataScopeGuard.h"

namespace folder_host {

// The scopes that are open on one connection, the outermost first, and the transaction and savepoints behind them. See
// Store for what a scope means.
class Scopes {
 public:
  // Given what the outermost write scope has changed, before that is committed; what it writes belongs to the scope.
  // Where it throws, nothing is kept.
  using KeepEdit = std::function<void(const Changes&)>;

  // The database outlives this object and its scopes. Without `keepEdit`, nothing is recorded.
  Scopes(SQLite::Database& database, KeepEdit keepEdit);
  ~Scopes();
  Scopes(const Scopes&) = delete;
  Scopes& operator=(const Scopes&) = delete;

  // `keepAlive` is held until the scope has ended. Errors: WRITE_IN_READ_SCOPE, STORE_FAILED.
  project::metadata::MetadataScopeGuard begin(bool write, std::shared_ptr<void> keepAlive);

  // Throws the failure of a commit or a roll-back that nobody has been told of yet, once.
  void confirm();

  // Throws where nothing may be written: WRITE_IN_READ_SCOPE, or STORE_FAILED when an earlier failure has ended the
  // transaction under its scopes, so that a change would be kept whatever becomes of them.
  void requireWritable() const;

 private:
  struct Scope;

  void enter(Scope& scope);
  void end(Scope& scope) noexcept;
  void finish(const Scope& scope) noexcept;
  int commit(const Scope& scope) noexcept;
  int keepEdit() noexcept;
  int release() noexcept;
  void undo(const Scope& scope) noexcept;
  void remember(int result) noexcept;

  SQLite::Database& database_;
  KeepEdit keepEdit_;
  std::optional<Recording> recording_;  // of the outermost write scope
  SQLite::Statement savepoint_;         // prepared once: within a scope each single change is a scope of its own
  SQLite::Statement release_;
  std::vector<std::shared_ptr<Scope>> scopes_;
  int failure_ = 0;
};

}  // namespace folder_host
