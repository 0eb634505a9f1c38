#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "project/metadata/MetadataPath.h"

namespace bench {

// A call that the library makes to the metadata, with what each side asks the store with.
struct StoreCall {
  enum class Kind { exists, children, node, set, remove };

  Kind kind;
  project::metadata::MetadataPath path;
  std::u16string key;    // of the value that a node is given; may be empty
  std::u16string value;  // of that key
};

// Numbered profiles, each of 1,000 items (20 filters of 50 items; a profile stores five filters of one kind as one).
project::metadata::MetadataPath profilePath(std::size_t profile);

// The calls that the operations make with so many profiles stored. Those of a list are without its name reads.
std::vector<StoreCall> callsToList(std::size_t profiles);
std::vector<StoreCall> callsToFindByName(std::size_t profiles);
std::vector<StoreCall> callsToCreate(std::size_t profiles);
std::vector<StoreCall> callsToSave(std::size_t profile);

}  // namespace bench
