#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "folder_host/store/Origin.h"

namespace folder_host {

// A server in memory, on which everything can be made to go wrong; its origins keep it. Origins of several threads may
// use it.
class MemoryServers final : public Servers, public std::enable_shared_from_this<MemoryServers> {
 public:
  ~MemoryServers() override;

  std::shared_ptr<Origin> originAt(const Address& address) override;
  void create(const Address& address, const Changes& content, const std::vector<Edit>& log) override;

  struct Project {
    std::map<std::string, Change> content;  // by their bytes
    std::vector<Edit> log;
    bool isClosed = false;
    const void* holder = nullptr;  // the origin that has the lock
  };
  // By the text of the address.
  std::map<std::string, Project> projects;
  // Called with the name of each call ("read", "lock", "publish", "create") before it does anything; and after it has
  // ("published", "created"): what it throws is what the origin throws.
  std::function<void(const std::string&)> onCall;
  // How often the server was asked.
  int turns = 0;

 private:
  friend class MemoryOrigin;
  void call(const std::string& name);

  std::mutex mutex_;
  std::condition_variable released_;
};

}  // namespace folder_host
