#pragma once

#include <memory>
#include <string>
#include <vector>

#include "folder_host/store/Address.h"
#include "server_store/Deadlines.h"
#include "server_store/Hosts.h"
#include "server_store/Turn.h"

namespace server_store {

class Session;

// A connection to the server of an address, made when something is asked for and there is none. The server is proven to
// be who it is (TLS, with its name in the certificate, and a log-in that is bound to it), unless it is this machine.
// Nothing that the server says is written anywhere.
class Connection {
 public:
  // Throws as hostsIn.
  Connection(const folder_host::Address& address, const Deadlines& deadlines);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // All statements in one round trip, each when the one before it is done, none behind one that is refused. Where it
  // throws (ConnectionLost, StatementRefused, AnswerTooLarge, and what `onRow` throws), there is no connection any
  // more, and so no transaction. Without `onRow`, rows are passed over.
  Answer run(const std::vector<Statement>& statements, const OnRow& onRow, TimePoint deadline);

  // Does not wait: an open transaction ends when the server notices.
  void close() noexcept;

 private:
  void open(TimePoint deadline);

  const folder_host::Address address_;
  const Deadlines deadlines_;
  const std::vector<Host> hosts_;  // none: the service's
  std::unique_ptr<Session> session_;
};

}  // namespace server_store
