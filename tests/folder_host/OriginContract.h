#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "folder_host/store/Origin.h"

// What folder_host/store/Origin.h promises, for any origin: a program of tests has OriginContract.cpp among its sources
// and says INSTANTIATE_TEST_SUITE_P(NAME, OriginContract, ::testing::Values(KIND)).
namespace folder_host {

// Where projects are kept, and what happens to them there behind the program's back.
class OriginWorld {
 public:
  virtual ~OriginWorld();

  virtual Servers& servers() = 0;
  virtual Address addressOf(const std::string& project) = 0;
  // The log is without the edits before the first.
  virtual void trim(const std::string& project, std::int64_t first) = 0;
  // The project is as it was behind the last one.
  virtual void goBackTo(const std::string& project, std::int64_t last) = 0;
};

struct OriginKind {
  const char* name;
  OriginWorld& (*world)();
};

inline void PrintTo(const OriginKind& kind, std::ostream* out) { *out << kind.name; }

Change rowPut(const std::string& key, const std::string& value);
Change rowGone(const std::string& key, const std::string& value);
// An edit of that number that nobody else makes.
Edit editOf(std::int64_t number, Changes changes);
Position positionOf(const Edit& edit);
// In an order of their own.
Changes sorted(Changes rows);

class OriginContract : public ::testing::TestWithParam<OriginKind> {
 public:
  OriginContract();
  ~OriginContract() override;

 protected:
  std::shared_ptr<Origin> origin() { return world_.servers().originAt(address_); }
  // What an origin that knows nothing tells.
  Update all() { return origin()->read({}); }
  // Keeps an edit with these changes, which comes next.
  Edit edit(const Changes& changes);

  OriginWorld& world_;
  const std::string project_;
  const Address address_;
  const Changes content_;
  const std::vector<Edit> log_;
};

}  // namespace folder_host
