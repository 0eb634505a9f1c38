#include "server_store/Hosts.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "folder_host/Error.h"
#include "server_store/Turn.h"

namespace server_store {

namespace {

[[noreturn]] void refuse(const char* why) {
  throw folder_host::Error(folder_host::errors::ADDRESS_UNUSABLE, std::string("this address cannot be used: ") + why +
                                                                      "; write HOST, HOST:PORT or [::1]:PORT");
}

Host hostIn(std::string_view text) {
  constexpr std::size_t LONGEST_PORT = 5;
  Host host{{}, "5432", {}};
  const bool isNumber6 = !text.empty() && text.front() == '[';
  const std::size_t end = isNumber6 ? text.find(']') : text.find(':');
  if (isNumber6 && end == std::string_view::npos) refuse("a [ in it is not closed");
  host.name = text.substr(isNumber6 ? 1 : 0, isNumber6 ? end - 1 : end);
  text.remove_prefix(std::min(text.size(), isNumber6 ? end + 1 : end));
  if (host.name.empty() || host.name.find_first_of("[]") != std::string::npos) refuse("a host has no name");
  if (text.empty()) return host;
  host.port = text.substr(1);
  const auto isDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
  if (text.front() != ':' || host.port.empty() || host.port.size() > LONGEST_PORT || host.port.front() == '0' ||
      !std::all_of(host.port.begin(), host.port.end(), isDigit) || std::stoi(host.port) > 65535) {
    refuse("its port is none");
  }
  return host;
}

bool isNumber(const std::string& name) {
  in6_addr address = {};
  return ::inet_pton(AF_INET, name.c_str(), &address) == 1 || ::inet_pton(AF_INET6, name.c_str(), &address) == 1;
}

bool isLocalhost(const std::string& name) {
  const auto isSame = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  constexpr std::string_view LOCALHOST = "localhost";
  return std::equal(name.begin(), name.end(), LOCALHOST.begin(), LOCALHOST.end(), isSame);
}

struct Lookup {
  std::mutex mutex;
  std::condition_variable isDone;
  std::optional<int> failure;  // 0: none
  std::vector<std::string> numbers;
};

void look(const std::shared_ptr<Lookup>& lookup, const std::string& name) {
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int failure = ::getaddrinfo(name.c_str(), nullptr, &hints, &list);
  std::vector<std::string> numbers;
  for (const addrinfo* one = list; one != nullptr; one = one->ai_next) {
    std::array<char, NI_MAXHOST> number = {};
    if (::getnameinfo(one->ai_addr, one->ai_addrlen, number.data(), number.size(), nullptr, 0, NI_NUMERICHOST) == 0) {
      numbers.emplace_back(number.data());
    }
  }
  if (list != nullptr) ::freeaddrinfo(list);
  const std::lock_guard<std::mutex> lock(lookup->mutex);
  lookup->numbers = std::move(numbers);
  lookup->failure = failure;
  lookup->isDone.notify_one();
}

}  // namespace

std::vector<Host> hostsIn(const std::string& hosts) {
  std::vector<Host> result;
  std::string_view rest = hosts;
  while (!hosts.empty()) {
    const std::size_t comma = rest.find(',');
    result.push_back(hostIn(rest.substr(0, comma)));
    if (comma == std::string_view::npos) return result;
    rest.remove_prefix(comma + 1);
  }
  return result;
}

bool isThisMachine(const std::string& name) {
  in_addr address = {};
  if (::inet_pton(AF_INET, name.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24U == 127;
  in6_addr address6 = {};
  if (::inet_pton(AF_INET6, name.c_str(), &address6) == 1) return IN6_IS_ADDR_LOOPBACK(&address6);
  return isLocalhost(name);
}

std::vector<std::string> numbersOf(const std::string& name, TimePoint deadline) {
  if (isNumber(name)) return {name};
  if (isLocalhost(name)) return {"127.0.0.1", "::1"};
  const auto lookup = std::make_shared<Lookup>();
  try {
    std::thread(look, lookup, name).detach();
  } catch (const std::system_error& error) {
    throw ConnectionLost(ConnectionLost::When::connecting, error.what());
  }
  std::unique_lock<std::mutex> lock(lookup->mutex);
  if (!lookup->isDone.wait_until(lock, deadline, [&] { return lookup->failure.has_value(); })) {
    throw ConnectionLost(ConnectionLost::When::connecting, "its name was not found in time");
  }
  if (!lookup->numbers.empty()) return lookup->numbers;
  throw ConnectionLost(ConnectionLost::When::connecting,
                       *lookup->failure == 0 ? "its name has no address" : ::gai_strerror(*lookup->failure));
}

}  // namespace server_store
