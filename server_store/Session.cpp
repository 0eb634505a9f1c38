#include "server_store/Session.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>

namespace server_store {

namespace {

constexpr std::uint64_t MOST_IN_ANSWER = std::uint64_t{1} << 30U;
constexpr std::uint64_t MOST_IN_ROW = std::uint64_t{80} << 20U;  // a value of 64 MiB, and what comes along with it

// One line of what libpq or the server says.
std::string firstLine(const char* text) {
  constexpr std::size_t LONGEST = 300;
  const std::string_view all = text == nullptr ? "" : text;
  return std::string(all.substr(0, std::min(all.find('\n'), LONGEST)));
}

PGconn* started(const Settings& settings) {
  std::vector<const char*> names, values;
  names.reserve(settings.size() + 1);
  values.reserve(settings.size() + 1);
  for (const Setting& setting : settings) {
    names.push_back(setting.name);
    values.push_back(setting.value.c_str());
  }
  names.push_back(nullptr);
  values.push_back(nullptr);
  PGconn* const connection = PQconnectStartParams(names.data(), values.data(), 0);
  if (connection == nullptr) throw std::bad_alloc();
  return connection;
}

struct Finish {
  void operator()(PGconn* connection) const { PQfinish(connection); }
};

constexpr const char* NO_BINDING = "nothing of the kind";

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};

// What a setting lists, with commas between.
std::vector<std::string> listIn(const PQconninfoOption* options, std::string_view name) {
  for (; options != nullptr && options->keyword != nullptr; ++options) {
    if (options->keyword != name || options->val == nullptr || *options->val == '\0') continue;
    std::vector<std::string> list(1);
    for (const char c : std::string_view(options->val))
      c == ',' ? list.emplace_back().clear() : list.back().push_back(c);
    return list;
  }
  return {};
}

}  // namespace

Session::Session(const Settings& settings, TimePoint deadline) : connection_(started(settings)), deadline_(deadline) {
  PQsetNoticeReceiver(connection_.get(), &Session::onNotice, this);
  if (PQstatus(connection_.get()) == CONNECTION_BAD) lost(ConnectionLost::When::connecting);
  PostgresPollingStatusType status = PGRES_POLLING_WRITING;
  while (status != PGRES_POLLING_OK) {
    try {
      waitFor(status == PGRES_POLLING_READING ? POLLIN : POLLOUT, deadline);
    } catch (const ConnectionLost&) {
      throw ConnectionLost(ConnectionLost::When::connecting, "it does not answer");
    }
    status = PQconnectPoll(connection_.get());
    if (status == PGRES_POLLING_FAILED) lost(ConnectionLost::When::connecting);
  }
  if (PQsetnonblocking(connection_.get(), 1) != 0 || PQenterPipelineMode(connection_.get()) != 1) {
    lost(ConnectionLost::When::connecting);
  }
}

void Session::onNotice(void* session, const PGresult* notice) {
  const char* severity = PQresultErrorField(notice, PG_DIAG_SEVERITY_NONLOCALIZED);
  if (severity != nullptr && std::string_view(severity) == "WARNING") static_cast<Session*>(session)->hasWarned_ = true;
}

void Session::lost(ConnectionLost::When when) const {
  const std::string why = firstLine(PQerrorMessage(connection_.get()));
  throw ConnectionLost(when, why.empty() ? "the connection broke" : why);
}

void Session::waitFor(short events, TimePoint deadline) const {
  pollfd watched = {PQsocket(connection_.get()), events, 0};
  if (watched.fd < 0) throw ConnectionLost(ConnectionLost::When::talking, "the connection broke");
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) throw ConnectionLost(ConnectionLost::When::late, "it does not answer");
    constexpr std::int64_t LONGEST = 60000;
    const int ready = ::poll(&watched, 1, static_cast<int>(std::min<std::int64_t>(left, LONGEST)));
    if (ready > 0) return;
    if (ready < 0 && errno != EINTR) throw ConnectionLost(ConnectionLost::When::talking, "the connection broke");
  }
}

void Session::queue(const Statement& statement) {
  std::vector<Oid> types;
  std::vector<const char*> values;
  std::vector<int> lengths;
  const std::size_t count = statement.values.size();
  types.reserve(count);
  values.reserve(count);
  lengths.reserve(count);
  for (const Value& value : statement.values) {
    types.push_back(value.type);
    values.push_back(value.bytes.data());
    lengths.push_back(static_cast<int>(value.bytes.size()));
    sent_ += value.bytes.size();
  }
  const std::vector<int> formats(count, 1);
  if (PQsendQueryParams(connection_.get(), statement.sql.c_str(), static_cast<int>(count), types.data(), values.data(),
                        lengths.data(), formats.data(), 1) != 1) {
    lost(ConnectionLost::When::talking);
  }
}

// What came over this connection, to the byte; nothing is known of a socket that is a file.
std::uint64_t Session::counted() const {
  tcp_info info = {};
  socklen_t size = sizeof info;
  const int failure = ::getsockopt(PQsocket(connection_.get()), IPPROTO_TCP, TCP_INFO, &info, &size);
  return failure == 0 ? info.tcpi_bytes_received : 0;
}

// Whoever sends little is not waited for longer by it, and whoever sends too much is not listened to: libpq itself
// takes in a message of any length.
void Session::receive() {
  const int unsent = PQflush(connection_.get());
  came_ = counted();
  if (came_ - atBegin_ > MOST_IN_ANSWER || came_ - atRow_ > MOST_IN_ROW) {
    throw AnswerTooLarge("it is larger than any project");
  }
  // What TLS has taken in already does not make the socket ready.
  auto* const tls = static_cast<SSL*>(PQsslStruct(connection_.get(), "OpenSSL"));
  if (tls == nullptr || SSL_pending(tls) == 0) {
    const TimePoint deadline = deadline_ + timeFor(sent_ + came_ - atBegin_);
    waitFor(static_cast<short>(unsent == 1 ? POLLIN | POLLOUT : POLLIN), deadline);
  }
  if (PQconsumeInput(connection_.get()) != 1) lost(ConnectionLost::When::talking);
}

Session::Result Session::next() {
  while (PQisBusy(connection_.get()) != 0) receive();
  return Result(PQgetResult(connection_.get()));
}

void Session::refuse(const PGresult& result, std::size_t statement) const {
  const auto field = [&](int code) {
    const char* text = PQresultErrorField(&result, code);
    return std::string(text == nullptr ? "" : text);
  };
  // Without a code it was libpq that noticed, and what ends the connection says nothing of the statement.
  const std::string code = field(PG_DIAG_SQLSTATE), severity = field(PG_DIAG_SEVERITY_NONLOCALIZED);
  if (code.empty() || severity != "ERROR") {
    const std::string why = firstLine(PQresultErrorMessage(&result));
    throw ConnectionLost(ConnectionLost::When::talking, why.empty() ? "the connection broke" : why);
  }
  throw StatementRefused(statement, code, firstLine(PQresultErrorField(&result, PG_DIAG_MESSAGE_PRIMARY)));
}

void Session::read(const PGresult& result, std::size_t statement, const OnRow& onRow) {
  Row row(static_cast<std::size_t>(PQnfields(&result)));
  for (std::size_t i = 0; i < row.size(); ++i) {
    const int column = static_cast<int>(i);
    if (PQgetisnull(&result, 0, column) != 0) continue;
    row[i] =
        std::string_view(PQgetvalue(&result, 0, column), static_cast<std::size_t>(PQgetlength(&result, 0, column)));
  }
  atRow_ = came_;
  if (onRow) onRow(statement, row);
}

Answer Session::run(const std::vector<Statement>& statements, const OnRow& onRow, TimePoint deadline) {
  sent_ = 0;
  atBegin_ = atRow_ = came_ = counted();
  deadline_ = deadline;
  hasWarned_ = false;
  for (const Statement& statement : statements) queue(statement);
  if (PQpipelineSync(connection_.get()) != 1) lost(ConnectionLost::When::talking);
  Answer answer;
  std::size_t statement = 0;
  PQsetSingleRowMode(connection_.get());
  while (true) {
    const Result result = next();
    if (result == nullptr) {
      if (PQstatus(connection_.get()) != CONNECTION_OK || ++statement > statements.size()) {
        lost(ConnectionLost::When::talking);
      }
      PQsetSingleRowMode(connection_.get());
      continue;
    }
    switch (PQresultStatus(result.get())) {
      case PGRES_SINGLE_TUPLE:
        read(*result, statement, onRow);
        break;
      case PGRES_TUPLES_OK:
      case PGRES_COMMAND_OK:
        answer.last = PQcmdStatus(result.get());
        break;
      case PGRES_PIPELINE_SYNC:
        if (statement != statements.size()) throw ConnectionLost(ConnectionLost::When::talking, "an answer is missing");
        answer.hasWarned = hasWarned_;
        return answer;
      default:
        refuse(*result, statement);
    }
  }
}

std::vector<Host> hostsOfService(const std::string& service) {
  // What is no setting keeps libpq from connecting; what the service says it has read by then.
  const Settings settings = {{"service", service}, {"channel_binding", NO_BINDING}};
  const std::unique_ptr<PGconn, Finish> connection(started(settings));
  const std::unique_ptr<PQconninfoOption, FreeOptions> options(PQconninfo(connection.get()));
  const std::vector<std::string> names = listIn(options.get(), "host"), numbers = listIn(options.get(), "hostaddr"),
                                 ports = listIn(options.get(), "port");
  std::vector<Host> hosts(std::max(names.size(), numbers.size()));
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (i < names.size()) hosts[i].name = names[i];
    if (i < numbers.size()) hosts[i].number = numbers[i];
    if (!ports.empty()) hosts[i].port = ports[std::min(i, ports.size() - 1)];
  }
  if (!hosts.empty()) return hosts;
  const std::string why = firstLine(PQerrorMessage(connection.get()));
  const bool isKnown = why.find(NO_BINDING) != std::string::npos;
  throw ConnectionLost(ConnectionLost::When::connecting, isKnown ? "its service names no host" : why);
}

}  // namespace server_store
