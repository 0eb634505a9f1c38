#include "folder_host/Soundness.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

#include <string>

#include "folder_host/NodeKey.h"

namespace folder_host {

namespace {

constexpr const char* STRAYS =
    "SELECT (SELECT count(*) FROM label WHERE kept NOT IN (0, 1) OR category NOT IN (SELECT uuid FROM category)) +"
    " (SELECT count(*) FROM attachment WHERE label NOT IN (SELECT uuid FROM label))";

// Whether there is a node for each key that the query gives; the root, whose key is empty, is always there.
bool allAreNodes(SQLite::Database& database, const char* sql) {
  SQLite::Statement keys(database, sql);
  SQLite::Statement node(database, "SELECT 1 FROM node WHERE parent = ? AND type = ? AND location = ?");
  while (keys.executeStep()) {
    const std::string key = keys.getColumn(0).getString();
    if (key.empty()) continue;
    const auto parts = splitNodeKey(key);
    if (!parts) return false;
    node.reset();
    for (int i = 0; i < 3; ++i) {
      const std::string& part = (*parts)[static_cast<std::size_t>(i)];
      node.bind(i + 1, part.data(), static_cast<int>(part.size()));
    }
    if (!node.executeStep()) return false;
  }
  return true;
}

}  // namespace

bool isSound(SQLite::Database& database) {
  return database.execAndGet("PRAGMA integrity_check(1)").getString() == "ok" &&
         database.execAndGet(STRAYS).getInt() == 0 && allAreNodes(database, "SELECT DISTINCT parent FROM node") &&
         allAreNodes(database, "SELECT DISTINCT node FROM node_value");
}

}  // namespace folder_host
