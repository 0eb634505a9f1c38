#pragma once

#include <libpq-fe.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server_store/Deadlines.h"
#include "server_store/Hosts.h"
#include "server_store/Turn.h"

namespace server_store {

// Settings of a connection, by libpq's names. Those that are empty are the user's: of the environment, of a service.
struct Setting {
  const char* name;
  std::string value;
};
using Settings = std::vector<Setting>;

// One connection of libpq, never waited for without a deadline.
class Session {
 public:
  // Throws ConnectionLost.
  Session(const Settings& settings, TimePoint deadline);

  Answer run(const std::vector<Statement>& statements, const OnRow& onRow, TimePoint deadline);

 private:
  struct Finish {
    void operator()(PGconn* connection) const { PQfinish(connection); }
  };
  struct Clear {
    void operator()(PGresult* result) const { PQclear(result); }
  };
  using Result = std::unique_ptr<PGresult, Clear>;

  static void onNotice(void* session, const PGresult* notice);
  [[noreturn]] void lost(ConnectionLost::When when) const;
  void waitFor(short events, TimePoint deadline) const;
  void queue(const Statement& statement);
  std::uint64_t counted() const;
  void receive();
  Result next();
  void read(const PGresult& result, std::size_t statement, const OnRow& onRow);
  [[noreturn]] void refuse(const PGresult& result, std::size_t statement) const;

  std::unique_ptr<PGconn, Finish> connection_;
  bool hasWarned_ = false;
  TimePoint deadline_;         // of this turn, without what sending and getting adds to it
  std::uint64_t sent_ = 0;     // in this turn
  std::uint64_t came_ = 0;     // ever,
  std::uint64_t atBegin_ = 0;  // before this turn,
  std::uint64_t atRow_ = 0;    // and before its last row
};

// The hosts of a service, which the user's or the system's service file has. Throws ConnectionLost.
std::vector<Host> hostsOfService(const std::string& service);

}  // namespace server_store
