#include "Proxy.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "Postgres.h"

namespace server_store {

namespace {

// Takes so many bytes; none where the connection has ended.
bool take(int socket, std::string& bytes, std::size_t count) {
  const std::size_t before = bytes.size();
  bytes.resize(before + count);
  while (count > 0) {
    const ::ssize_t taken = ::recv(socket, bytes.data() + bytes.size() - count, count, 0);
    if (taken <= 0) return false;
    count -= static_cast<std::size_t>(taken);
  }
  return true;
}

// A message: a letter, its length with the length's own four bytes, the rest. What a client begins with has no letter,
// and the answer to its question for encryption is a letter alone.
bool takeMessage(int socket, std::string& message, bool hasLetter) {
  message.clear();
  if (!take(socket, message, hasLetter ? 5 : 4)) return false;
  std::uint32_t length = 0;
  std::memcpy(&length, message.data() + message.size() - sizeof length, sizeof length);
  return take(socket, message, ntohl(length) - sizeof length);
}

}  // namespace

Proxy::Proxy(int serverPort) : serverPort_(serverPort), listener_(listening(port_)), serving_([this] { serve(); }) {}

Proxy::~Proxy() {
  ::shutdown(listener_, SHUT_RDWR);
  serving_.join();
  for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
  for (std::thread& thread : threads_) thread.join();
  for (const int socket : sockets_) ::close(socket);
  ::close(listener_);
}

void Proxy::cutBehind(Direction direction, int messages) {
  const std::lock_guard<std::mutex> lock(mutex_);
  cut_ = direction;
  left_ = messages;
  hasCut_ = false;
}

void Proxy::serve() {
  while (true) {
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    connect(client);
  }
}

void Proxy::connect(int client) {
  const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(serverPort_));
  // Messages go one by one; held back until the one before is confirmed, each would take a while.
  const int isOn = 1;
  for (const int socket : {client, server}) ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof isOn);
  const bool isThere = ::connect(server, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  const std::lock_guard<std::mutex> lock(mutex_);
  sockets_.insert(sockets_.end(), {client, server});
  if (!isThere) ::shutdown(client, SHUT_RDWR);
  threads_.emplace_back([=] { forward(client, server, Direction::toServer); });
  threads_.emplace_back([=] { forward(server, client, Direction::toClient); });
}

bool Proxy::passes(Direction direction) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (left_ < 0 || direction != cut_) return true;
  if (left_ > 0) return --left_ >= 0;
  left_ = -1;
  hasCut_ = true;
  return false;
}

void Proxy::forward(int from, int to, Direction direction) {
  std::string message;
  bool isClient = direction == Direction::toServer, hasLetter = !isClient;
  // The first answer is one letter: no encryption.
  bool isFirst = true;
  while (true) {
    const bool isLetterAlone = !isClient && isFirst;
    if (isLetterAlone) message.clear();
    if (!(isLetterAlone ? take(from, message, 1) : takeMessage(from, message, hasLetter))) break;
    if (isClient && !hasLetter) hasLetter = !std::exchange(isFirst, false);
    isFirst = false;
    if (!passes(direction)) break;
    ++counts_[static_cast<int>(direction)];
    if (isClient && wasAnswered_.exchange(false)) {
      ++turns_;
      std::this_thread::sleep_for(delay_.load());
    }
    if (!isClient) wasAnswered_ = true;
    if (::send(to, message.data(), message.size(), MSG_NOSIGNAL) < 0) break;
  }
  ::shutdown(to, SHUT_RDWR);
  ::shutdown(from, SHUT_RDWR);
}

}  // namespace server_store
