#include "MemoryServers.h"

#include "OriginContract.h"

namespace folder_host {

namespace {

class MemoryWorld final : public OriginWorld {
 public:
  ~MemoryWorld() override;
  Servers& servers() override { return *servers_; }
  Address addressOf(const std::string& project) override { return {"memory", "teams", "", project}; }
  void trim(const std::string& project, std::int64_t first) override {
    auto& log = logOf(project);
    log.erase(log.begin(), log.begin() + (first - log.front().number));
  }
  void goBackTo(const std::string& project, std::int64_t last) override {
    auto& log = logOf(project);
    log.erase(log.end() - (log.back().number - last), log.end());
  }

 private:
  std::vector<Edit>& logOf(const std::string& project) { return servers_->projects.at(addressOf(project).text()).log; }

  const std::shared_ptr<MemoryServers> servers_ = std::make_shared<MemoryServers>();
};

MemoryWorld::~MemoryWorld() = default;

OriginWorld& memoryWorld() {
  static MemoryWorld world;
  return world;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Memory, OriginContract, ::testing::Values(OriginKind{"memory", memoryWorld}),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace folder_host
