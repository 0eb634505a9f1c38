#include "Postgres.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <vector>

#include "folder_host/Fixture.h"
#include "server_store/PostgresServers.h"

namespace server_store {

namespace fs = std::filesystem;
using folder_host::Address;

namespace {

constexpr const char* PROGRAMS = "/usr/lib/postgresql/15/bin/";

// The server does not run as root.
const passwd* serverUser() { return ::geteuid() == 0 ? ::getpwnam("nobody") : nullptr; }

// Whatever it says is at the end of the file.
::pid_t begin(const std::vector<std::string>& words, const std::string& output, const passwd* user) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const ::pid_t parent = ::getpid(), child = ::fork();
  if (child != 0) return child;
  const int file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  const bool isReady = ::dup2(file, 1) == 1 && ::dup2(file, 2) == 2 &&
                       (user == nullptr ||
                        (::setgroups(0, nullptr) == 0 && ::setgid(user->pw_gid) == 0 && ::setuid(user->pw_uid) == 0)) &&
                       ::prctl(PR_SET_PDEATHSIG, SIGQUIT) == 0 && ::getppid() == parent;
  if (isReady) ::execv(arguments[0], arguments.data());
  ::_exit(127);
}

void require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

std::string inShell(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

class World final : public folder_host::OriginWorld {
 public:
  ~World() override;
  folder_host::Servers& servers() override { return servers_; }
  Address addressOf(const std::string& project) override { return postgres().addressOf(project); }
  void trim(const std::string& project, std::int64_t first) override {
    postgres().runFile("trim.sql", "-v project=" + inShell(project) + " -v first=" + std::to_string(first));
  }
  void goBackTo(const std::string& project, std::int64_t last) override {
    const std::string number = std::to_string(last), it = " WHERE id = " + idOf(project);
    postgres().run("DELETE FROM project_share.edit WHERE revision > " + number + " AND project = " + idOf(project) +
                   "; UPDATE project_share.project SET revision = " + number + it);
  }

 private:
  static std::string idOf(const std::string& project) {
    return "(SELECT id FROM project_share.project WHERE name = convert_to('" + project + "', 'UTF8'))";
  }

  PostgresServers servers_;
};

World::~World() = default;

}  // namespace

int exitCodeOf(const std::string& command, std::string& output) {
  const folder_host::TemporaryFolder folder;
  const std::string file = folder.path / "output";
  int status = 0;
  const ::pid_t child = begin({"/bin/sh", "-c", command}, file, nullptr);
  require(::waitpid(child, &status, 0) == child, command);
  output = folder_host::read(file);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(const std::string& command) {
  std::string output;
  const int exitCode = exitCodeOf(command, output);
  require(exitCode == 0, command + ": " + output);
  return output;
}

int listening(int& port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  socklen_t size = sizeof address;
  auto* const where = reinterpret_cast<sockaddr*>(&address);
  require(
      ::bind(listener, where, size) == 0 && ::listen(listener, 64) == 0 && ::getsockname(listener, where, &size) == 0,
      "no port");
  port = ntohs(address.sin_port);
  return listener;
}

Postgres::Postgres() {
  std::string name = fs::temp_directory_path() / "project-share-server-XXXXXX";
  require(::mkdtemp(name.data()) != nullptr, name);
  folder_ = name;
  if (const passwd* const user = serverUser()) require(::chown(name.c_str(), user->pw_uid, user->pw_gid) == 0, name);
  int status = 0;
  const ::pid_t made = begin({std::string(PROGRAMS) + "initdb", "--no-sync", "-A", "trust", "-U", "admin", "-E", "UTF8",
                              "--locale=C", "-D", folder_ + "/data"},
                             folder_ + "/log", serverUser());
  require(::waitpid(made, &status, 0) == made && status == 0, "initdb: see " + folder_ + "/log");
  ::close(listening(port_));
  start();
  run("CREATE ROLE editor LOGIN; CREATE ROLE sharer LOGIN; CREATE ROLE stranger LOGIN");
  runFile("schema.sql");
  runFile("roles.sql");
  run("GRANT project_share_editors TO editor; GRANT project_share_sharers TO sharer");
}

Postgres::~Postgres() {
  stop(SIGINT);
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

// Where the last one was killed, the new one is there when nothing of that is left.
void Postgres::start() {
  std::string output;
  const std::string ready = std::string(PROGRAMS) + "pg_isready -q -h 127.0.0.1 -p " + std::to_string(port_);
  for (int tries = 0; server_ == 0 || exitCodeOf(ready, output) != 0; ++tries) {
    require(tries < 300, "no server: see " + folder_ + "/log");
    if (server_ != 0 && ::waitpid(server_, nullptr, WNOHANG) == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      continue;
    }
    server_ = begin(
        {std::string(PROGRAMS) + "postgres", "-D", folder_ + "/data", "-p", std::to_string(port_), "-c",
         "unix_socket_directories=", "-c", "listen_addresses=127.0.0.1", "-c", "fsync=off", "-c", "max_connections=50"},
        folder_ + "/log", serverUser());
  }
}

void Postgres::stop(int signal) {
  if (server_ == 0) return;
  ::kill(server_, signal);
  ::waitpid(server_, nullptr, 0);
  server_ = 0;
}

Address Postgres::addressOf(const std::string& project) const {
  return {"127.0.0.1:" + std::to_string(port_), "postgres", "", project};
}

std::string Postgres::run(const std::string& sql) const {
  return outputOf(std::string(PROGRAMS) + "psql -qXAt -v ON_ERROR_STOP=1 -h 127.0.0.1 -U admin -p " +
                  std::to_string(port_) + " -d postgres -c " + inShell(sql) + " 2>&1");
}

std::string Postgres::runFile(const std::string& file, const std::string& variables) const {
  return outputOf(std::string(PROGRAMS) + "psql -qXAt -1 -v ON_ERROR_STOP=1 -h 127.0.0.1 -U admin -p " +
                  std::to_string(port_) + " -d postgres " + variables + " -f " + SERVER_STORE "/" + file + " 2>&1");
}

Postgres& postgres() {
  static Postgres server;
  ::setenv("PGUSER", "editor", 1);
  return server;
}

folder_host::OriginWorld& postgresWorld() {
  static World world;
  return world;
}

}  // namespace server_store
