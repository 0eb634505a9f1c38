#include "server_store/Connection.h"

#include <algorithm>
#include <utility>

#include "server_store/Session.h"

namespace server_store {

namespace {

// The share of the time that is left which one of several attempts has.
TimePoint shareOf(TimePoint deadline, std::size_t attempts) {
  const TimePoint now = Clock::now();
  return now + (deadline - now) / static_cast<int>(attempts);
}

// What a service file, a variable or an address could say to weaken this is said here.
Settings settingsFor(const folder_host::Address& address, const std::vector<Host>& hosts) {
  const auto isHere = [](const Host& host) { return isThisMachine(host.name); };
  const bool isLocal = address.service.empty() && std::all_of(hosts.begin(), hosts.end(), isHere);
  return {{"service", address.service},
          {"dbname", address.database},
          {"sslmode", isLocal ? "prefer" : "verify-full"},
          {"channel_binding", isLocal ? "prefer" : "require"},
          {"gssencmode", "disable"},
          {"target_session_attrs", hosts.size() > 1 ? "read-write" : "any"},
          {"client_encoding", "UTF8"},
          {"application_name", "project-share"}};
}

// A server that does not answer leaves time to the next one.
std::unique_ptr<Session> sessionAt(const Host& host, const Settings& settings, TimePoint deadline, std::string& why) {
  std::vector<std::string> numbers = {host.number};
  if (host.number.empty()) numbers = numbersOf(host.name, deadline);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    Settings all = settings;
    all.push_back({"host", host.name});
    all.push_back({"hostaddr", numbers[i]});
    all.push_back({"port", host.port});
    try {
      return std::make_unique<Session>(all, shareOf(deadline, numbers.size() - i));
    } catch (const ConnectionLost& lost) {
      why += (why.empty() ? "" : "; ") + std::string(lost.what());
    }
  }
  return nullptr;
}

}  // namespace

Connection::Connection(const folder_host::Address& address, const Deadlines& deadlines)
    : address_(address), deadlines_(deadlines), hosts_(hostsIn(address.hosts)) {}

Connection::~Connection() = default;

void Connection::close() noexcept { session_.reset(); }

void Connection::open(TimePoint deadline) {
  const TimePoint end = std::min(deadline, Clock::now() + deadlines_.connect);
  const std::vector<Host> hosts = hosts_.empty() ? hostsOfService(address_.service) : hosts_;
  const Settings settings = settingsFor(address_, hosts);
  std::string why;
  for (std::size_t i = 0; i < hosts.size() && session_ == nullptr; ++i) {
    try {
      session_ = sessionAt(hosts[i], settings, shareOf(end, hosts.size() - i), why);
    } catch (const ConnectionLost& lost) {
      why += (why.empty() ? "" : "; ") + hosts[i].name + ": " + lost.what();
    }
  }
  if (session_ == nullptr) throw ConnectionLost(ConnectionLost::When::connecting, why);
}

Answer Connection::run(const std::vector<Statement>& statements, const OnRow& onRow, TimePoint deadline) {
  if (session_ == nullptr) open(deadline);
  std::unique_ptr<Session> session = std::move(session_);
  Answer answer = session->run(statements, onRow, deadline);
  session_ = std::move(session);
  return answer;
}

}  // namespace server_store
