#pragma once

#include <cstddef>
#include <string>

#include "PlainFilters.h"

namespace bench {

// A project and a filter over it. Of a label filter `entries` are the project's labels; the rest but `items` is nothing
// to it.
struct Shape {
  std::u16string kind;
  std::size_t entries = 0;
  std::size_t items = 0;
  std::size_t labels = 0;  // on each entry
  bool deep = false;       // folders stand in one another, 20 of them, not side by side
};

// Text of the length of a UUID, another for each number, in no order.
std::u16string uuidOf(std::size_t number);

// The item that names the label of this number. Twenty labels share a category.
project::sharing::profiles::ExportStrategyItem itemOf(std::size_t number);

// The labels 0 to `count` - 1.
plain::Items itemsUpTo(std::size_t count);

}  // namespace bench
