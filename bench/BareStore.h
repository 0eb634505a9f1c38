#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "StoreCalls.h"

namespace bench {

// Calls answered by the folder host's own queries through prepared statements, with keys that were made beforehand.
// What a query finds is read, byte by byte of nothing but its ends, and made into nothing.
class BareStore {
 public:
  explicit BareStore(sqlite3* database);  // outlives this object
  ~BareStore();

  struct Key {
    StoreCall::Kind kind;
    std::string node, end, parent, type, location, valueKey, value;
    std::vector<std::vector<std::string>> ancestors;  // parent, type, location; the node itself last
  };
  static std::vector<Key> keysOf(const std::vector<StoreCall>& calls);

  // In one transaction.
  void answer(const std::vector<Key>& calls);

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  Statement prepare(const char* sql) const;
  void run(const Statement& statement, std::initializer_list<const std::string*> values);
  void answer(const Key& call);
  void set(const Key& call);
  void remove(const Key& call);

  sqlite3* database_;
  Statement begin_, commit_, exists_, children_, values_, insert_, put_, removeNode_, removeBelow_, removeValues_;
  volatile std::size_t seen_ = 0;
};

}  // namespace bench
