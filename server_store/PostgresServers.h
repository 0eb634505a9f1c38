#pragma once

#include <memory>
#include <vector>

#include "folder_host/store/Origin.h"
#include "server_store/Deadlines.h"

namespace server_store {

// PostgreSQL servers whose databases were made ready by schema.sql.
class PostgresServers final : public folder_host::Servers {
 public:
  explicit PostgresServers(const Deadlines& deadlines = {});
  ~PostgresServers() override;

  std::shared_ptr<folder_host::Origin> originAt(const folder_host::Address& address) override;
  void create(const folder_host::Address& address, const folder_host::Changes& content,
              const std::vector<folder_host::Edit>& log) override;

 private:
  const Deadlines deadlines_;
};

}  // namespace server_store
