#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace server_store {

enum class Direction { toServer, toClient };

// Stands between clients and a server on this machine, and knows where a message of their protocol ends.
class Proxy {
 public:
  explicit Proxy(int serverPort);
  ~Proxy();
  Proxy(const Proxy&) = delete;
  Proxy& operator=(const Proxy&) = delete;

  int port() const noexcept { return port_; }
  // The connections break when so many more messages have passed in the direction.
  void cutBehind(Direction direction, int messages);
  // Whether that has happened.
  bool hasCut() const noexcept { return hasCut_; }
  // Each turn takes so much longer from now on.
  void setDelay(std::chrono::milliseconds delay) { delay_ = delay; }
  // How often the client has asked for something and waited for the answer.
  int turns() const noexcept { return turns_; }
  // How many messages have passed.
  int messages(Direction direction) const noexcept { return counts_[static_cast<int>(direction)]; }

 private:
  void serve();
  void connect(int client);
  void forward(int from, int to, Direction direction);
  bool passes(Direction direction);

  const int serverPort_;
  int port_ = 0;
  int listener_;
  std::atomic<int> counts_[2] = {};
  std::atomic<int> turns_ = 0;
  std::atomic<std::chrono::milliseconds> delay_{};
  std::atomic<bool> wasAnswered_ = true;
  std::mutex mutex_;
  int left_ = -1;  // messages until the cut; negative: none
  Direction cut_ = Direction::toServer;
  std::atomic<bool> hasCut_ = false;
  std::vector<int> sockets_;
  std::vector<std::thread> threads_;
  std::thread serving_;
};

}  // namespace server_store
