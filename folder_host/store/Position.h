#pragma once

#include <cstdint>
#include <string>

namespace folder_host {

// Names a state of a store by both: after a server that had not kept all of it takes over, a revision can be given
// again.
struct Position {
  std::int64_t revision = 0;  // the number of the last edit; 0: before the first
  std::string editId;         // its id; empty at 0
};

inline bool operator==(const Position& a, const Position& b) {
  return a.revision == b.revision && a.editId == b.editId;
}

}  // namespace folder_host
