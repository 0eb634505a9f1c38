#include <gtest/gtest.h>

#include "Postgres.h"

namespace folder_host {

INSTANTIATE_TEST_SUITE_P(Postgres, OriginContract,
                         ::testing::Values(OriginKind{"postgres", server_store::postgresWorld}),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace folder_host
