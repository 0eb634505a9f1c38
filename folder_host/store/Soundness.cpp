#include "folder_host/store/Soundness.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

#include <string>

#include "folder_host/files/Path.h"
#include "folder_host/store/NodeKey.h"
#include "folder_host/text/Patterns.h"

namespace folder_host {

namespace {

// Rows with a value of another type than ours, half a character, or nothing that they belong to; a log with gaps.
constexpr const char* STRAYS = R"(
SELECT EXISTS(SELECT 1 FROM node WHERE typeof(parent) <> 'blob' OR typeof(type) <> 'blob' OR length(type) % 2
              OR typeof(location) <> 'blob' OR length(location) % 2)
    OR EXISTS(SELECT 1 FROM node_value WHERE typeof(node) <> 'blob' OR typeof(key) <> 'blob' OR length(key) % 2
              OR typeof(value) <> 'blob' OR length(value) % 2)
    OR EXISTS(SELECT 1 FROM category WHERE typeof(uuid) <> 'blob' OR length(uuid) % 2
              OR typeof(name) <> 'blob' OR length(name) % 2)
    OR EXISTS(SELECT 1 FROM label WHERE typeof(uuid) <> 'blob' OR length(uuid) % 2
              OR typeof(name) <> 'blob' OR length(name) % 2 OR typeof(protected) <> 'integer'
              OR protected NOT IN (0, 1)
              OR category NOT IN (SELECT uuid FROM category))
    OR EXISTS(SELECT 1 FROM mark WHERE typeof(path) <> 'blob' OR typeof(kind) <> 'integer' OR kind NOT IN (0, 1, 2)
              OR (length(path) = 0 AND kind <> 1) OR label NOT IN (SELECT uuid FROM label))
    OR EXISTS(SELECT 1 FROM rule WHERE typeof(position) <> 'integer' OR typeof(pattern) <> 'blob'
              OR label NOT IN (SELECT uuid FROM label))
    OR EXISTS(SELECT 1 FROM edit WHERE typeof(id) <> 'blob' OR typeof(at) <> 'integer' OR typeof(user) <> 'blob'
              OR typeof(machine) <> 'blob' OR typeof(words) <> 'blob' OR typeof(undoes) <> 'blob'
              OR typeof(settled) <> 'blob' OR typeof(changes) <> 'blob' OR number < 1)
    OR (SELECT coalesce(max(number) - min(number) + 1, 0) <> count(*) FROM edit))";

// A path such as "../x" is no entry's: a label on it would be told of as missing for ever, or followed out of the
// project by whoever trusts it.
bool allAreEntryPaths(SQLite::Database& database) {
  SQLite::Statement paths(database, "SELECT path FROM mark WHERE length(path) > 0");  // "" is the project's folder
  while (paths.executeStep()) {
    if (!isEntryPath(paths.getColumn(0).getString())) return false;
  }
  return true;
}

// A pattern that never matches would hold nothing back, and look as if it did.
bool allArePatterns(SQLite::Database& database) {
  SQLite::Statement patterns(database, "SELECT pattern FROM rule");
  while (patterns.executeStep()) {
    if (patternFault(patterns.getColumn(0).getString()) != nullptr) return false;
  }
  return true;
}

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

// One fault is enough to refuse, and a crafted file may have any number of them.
bool isIntact(SQLite::Database& database) {
  return database.execAndGet("PRAGMA integrity_check(1)").getString() == "ok";
}

bool isSound(SQLite::Database& database) {
  return database.execAndGet(STRAYS).getInt() == 0 && allAreEntryPaths(database) && allArePatterns(database) &&
         allAreNodes(database, "SELECT DISTINCT parent FROM node") &&
         allAreNodes(database, "SELECT DISTINCT node FROM node_value");
}

}  // namespace folder_host
