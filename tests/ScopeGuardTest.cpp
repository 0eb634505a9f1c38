#include <gtest/gtest.h>

#include <stdexcept>

#include "project/metadata/MetadataScopeGuard.h"

namespace {

using project::metadata::MetadataScopeGuard;

TEST(ScopeGuard, EndsEachScopeOnceWhateverBecomesOfTheGuard) {
  std::string ended;
  const auto guard = [&](char name) { return MetadataScopeGuard([&ended, name] { ended += name; }); };
  {
    MetadataScopeGuard a = guard('a');
    MetadataScopeGuard moved(std::move(a));
    EXPECT_EQ(ended, "");
    moved = guard('b');
    EXPECT_EQ(ended, "a");
    MetadataScopeGuard& same = moved;
    moved = std::move(same);
    EXPECT_EQ(ended, "a");
    a = std::move(moved);
    EXPECT_EQ(ended, "a");
    const MetadataScopeGuard empty{std::function<void()>()};
    const MetadataScopeGuard throwing([] { throw std::runtime_error("dropped"); });
  }
  EXPECT_EQ(ended, "ab");
}

}  // namespace
