#pragma once

#include <sys/types.h>

#include <string>

#include "folder_host/OriginContract.h"

namespace server_store {

// A server of its own on this machine, which anybody may use under any name. It goes with the process.
class Postgres {
 public:
  Postgres();
  ~Postgres();
  Postgres(const Postgres&) = delete;
  Postgres& operator=(const Postgres&) = delete;

  void start();
  void stop(int signal);

  const std::string& folder() const noexcept { return folder_; }
  int port() const noexcept { return port_; }
  folder_host::Address addressOf(const std::string& project) const;
  // Runs SQL as the administrator, or a file of it with variables; what it prints.
  std::string run(const std::string& sql) const;
  std::string runFile(const std::string& file, const std::string& variables = "") const;

 private:
  std::string folder_;
  int port_ = 0;
  ::pid_t server_ = 0;
};

// The one of the tests; the user that the tests are is an editor. It is running.
Postgres& postgres();

// A folder_host::OriginWorld of it.
folder_host::OriginWorld& postgresWorld();

// What a shell's command prints; it succeeds.
std::string outputOf(const std::string& command);

// A port of this machine that a test listens at, and what listens.
int listening(int& port);

}  // namespace server_store
