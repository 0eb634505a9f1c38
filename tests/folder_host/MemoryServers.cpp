#include "MemoryServers.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "folder_host/Error.h"

namespace folder_host {

namespace {

using Project = MemoryServers::Project;

void apply(Project& project, const Changes& changes) {
  for (Change change : changes) {
    const bool isPut = std::exchange(change.isPut, true);
    const std::string key = bytesOf({change});
    const bool fits = isPut ? project.content.emplace(key, change).second : project.content.erase(key) == 1;
    if (!fits) throw std::logic_error("MemoryServers: the changes do not fit onto the project");
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
  MemoryOrigin(MemoryServers& servers, std::string address) : servers_(servers), address_(std::move(address)) {}
  ~MemoryOrigin() override { release(); }

  Update read(const Position& known) override {
    const std::unique_lock lock(servers_.mutex_);
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
      throw Error(errors::STORE_CONFLICT, "another edit was kept");
    Project next = at;  // all of it or nothing, whatever fails
    apply(next, edit.changes);
    next.log.push_back(edit);
    next.log.back().settled.clear();
    next.isClosed = isLast;
    next.holder = nullptr;
    std::swap(at, next);
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

  MemoryServers& servers_;
  const std::string address_;
};

MemoryServers::~MemoryServers() = default;

void MemoryServers::call(const std::string& name) {
  ++turns;
  if (onCall) onCall(name);
}

std::shared_ptr<Origin> MemoryServers::originAt(const Address& address) {
  return std::make_shared<MemoryOrigin>(*this, address.text());
}

void MemoryServers::create(const Address& address, const Changes& content, const std::vector<Edit>& log) {
  const std::unique_lock lock(mutex_);
  call("create");
  if (projects.count(address.text()) != 0) throw Error(errors::STORE_NAME_TAKEN, "there is such a project");
  Project project;
  apply(project, content);
  project.log = log;
  for (Edit& edit : project.log) edit.settled.clear();
  projects[address.text()] = std::move(project);
  call("created");
}

}  // namespace folder_host
