#include "MemoryServers.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "folder_host/Error.h"

namespace folder_host {

namespace {

using Project = MemoryServers::Project;

// All of them or none, whatever fails.
void apply(Project& project, const Changes& changes) {
  std::vector<decltype(project.content)::node_type> gone;
  std::vector<decltype(project.content)::iterator> put;
  gone.reserve(changes.size());
  put.reserve(changes.size());
  try {
    for (Change change : changes) {
      const bool isPut = std::exchange(change.isPut, true);
      const std::string key = bytesOf(Changes{change});
      const auto [at, isNew] =
          isPut ? project.content.emplace(key, change) : std::pair(project.content.find(key), false);
      if (isNew) put.push_back(at);
      if (!isPut && at != project.content.end()) gone.push_back(project.content.extract(at));
    }
    if (put.size() + gone.size() != changes.size())
      throw std::logic_error("MemoryServers: the changes do not fit onto the project");
  } catch (...) {
    for (const auto& at : put) project.content.erase(at);
    for (auto& node : gone) project.content.insert(std::move(node));
    throw;
  }
}

Update whole(const Project& project) {
  Update update{true, {}, project.log};
  for (const auto& [key, change] : project.content) update.content.push_back(change);
  return update;
}

Update behind(const Project& project, const Position& known) {
  if (known.revision < project.log.front().number) return whole(project);
  const auto isKnown = [&](const Edit& edit) { return edit.number == known.revision && edit.id == known.editId; };
  const auto at = std::find_if(project.log.begin(), project.log.end(), isKnown);
  if (at == project.log.end()) throw Error(errors::STORE_WENT_BACK, "the server has not what was seen of it");
  return {false, {}, {at + 1, project.log.end()}};
}

}  // namespace

class MemoryOrigin final : public Origin {
 public:
  MemoryOrigin(std::shared_ptr<MemoryServers> servers, std::string address)
      : kept_(std::move(servers)), address_(std::move(address)) {}
  ~MemoryOrigin() override;

  Update read(const Position& known) override {
    const std::unique_lock lock(servers_.mutex_);
    if (Project& at = project(); at.holder == this) throw std::logic_error("MemoryServers: the lock is held");
    servers_.call("read");
    return behind(project(), known);
  }

  Update lock(const Position& known) override {
    std::unique_lock lock(servers_.mutex_);
    if (project().holder == this) throw std::logic_error("MemoryServers: locked twice");
    servers_.call("lock");
    if (!servers_.released_.wait_for(lock, std::chrono::seconds(30), [&] { return project().holder == nullptr; }))
      throw Error(errors::STORE_BUSY, "somebody else is editing");
    Update update = behind(project(), known);
    project().holder = this;
    return update;
  }

  void publish(const Edit& edit, bool isLast) override {
    const std::unique_lock lock(servers_.mutex_);
    struct Freed {
      ~Freed() { origin.free(); }
      MemoryOrigin& origin;
    } const freed{*this};
    servers_.call("publish");
    Project& at = project();
    if (at.holder != this || edit.number != at.log.back().number + 1)
      throw std::logic_error("MemoryServers: the lock is not held, or the edit is not the next");
    Edit kept = edit;
    at.log.reserve(2 * at.log.size() + 1);
    apply(at, edit.changes);
    at.log.push_back(std::move(kept));
    at.isClosed = isLast;
    servers_.call("published");
  }

  void release() noexcept override {
    const std::unique_lock lock(servers_.mutex_);
    free();
  }

 private:
  Project& project() {
    const auto found = servers_.projects.find(address_);
    if (found == servers_.projects.end()) throw Error(errors::STORE_NOT_FOUND, "there is no such project");
    if (found->second.isClosed) throw Error(errors::STORE_MOVED, "the project was closed");
    return found->second;
  }

  void free() noexcept {
    const auto found = servers_.projects.find(address_);
    if (found == servers_.projects.end() || found->second.holder != this) return;
    found->second.holder = nullptr;
    servers_.released_.notify_all();
  }

  const std::shared_ptr<MemoryServers> kept_;
  MemoryServers& servers_ = *kept_;
  const std::string address_;
};

MemoryOrigin::~MemoryOrigin() { release(); }

MemoryServers::~MemoryServers() = default;

void MemoryServers::call(const std::string& name) {
  ++turns;
  if (onCall) onCall(name);
}

std::shared_ptr<Origin> MemoryServers::originAt(const Address& address) {
  return std::make_shared<MemoryOrigin>(shared_from_this(), address.text());
}

void MemoryServers::create(const Address& address, const Changes& content, const std::vector<Edit>& log) {
  const std::unique_lock lock(mutex_);
  call("create");
  if (projects.count(address.text()) != 0) throw Error(errors::STORE_NAME_TAKEN, "there is such a project");
  Project project;
  apply(project, content);
  project.log = log;
  projects[address.text()] = std::move(project);
  call("created");
}

}  // namespace folder_host
