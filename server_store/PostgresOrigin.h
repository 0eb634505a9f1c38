#pragma once

#include <memory>
#include <optional>
#include <string>

#include "folder_host/store/Origin.h"
#include "server_store/Connection.h"
#include "server_store/Refusals.h"
#include "server_store/Statements.h"
#include "server_store/UpdateReader.h"

namespace server_store {

// A project in a PostgreSQL database that was made ready by schema.sql. Reading takes one round trip, an edit two.
class PostgresOrigin final : public folder_host::Origin {
 public:
  // Error: ADDRESS_UNUSABLE.
  PostgresOrigin(const folder_host::Address& address, const Deadlines& deadlines);
  ~PostgresOrigin() override;

  using Origin::publish;
  folder_host::Update read(const folder_host::Position& known) override;
  folder_host::Update lock(const folder_host::Position& known) override;
  void publish(const folder_host::Edit& edit, bool isLast) override;
  void release() noexcept override;

 private:
  // What the lock is held on.
  struct Held {
    std::string projectId;
    folder_host::Position base;
    ContentDigest content;
  };
  // One turn, with the state in it. Throws as Connection::run does, and what has no row of the project.
  std::unique_ptr<UpdateReader> ask(Statements before, const folder_host::Position& known, const Statements& after,
                                    TimePoint deadline);
  std::unique_ptr<UpdateReader> askLocked(const folder_host::Position& known, TimePoint deadline);
  folder_host::Update readOnce(const folder_host::Position& known, TimePoint deadline);
  folder_host::Update lockOnce(const folder_host::Position& known, TimePoint deadline);
  void keep(const Held& held, const folder_host::Edit& edit, bool isLast);
  // Error: STORE_OUTCOME_UNKNOWN.
  void requireOnStandby(const Held& held, const folder_host::Edit& edit, TimePoint deadline);
  // Whether the edit is kept, where the answer was lost. If it is not, the lock is held again. Error:
  // STORE_OUTCOME_UNKNOWN, STORE_CONFLICT, STORE_MOVED, STORE_WENT_BACK.
  bool isKept(const Held& held, const folder_host::Edit& edit, TimePoint deadline);

  const std::string project_;
  const Deadlines deadlines_;
  const Refusals refusals_;
  Connection connection_;
  std::optional<Held> held_;
};

}  // namespace server_store
