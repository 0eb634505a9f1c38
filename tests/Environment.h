#pragma once

#include <cstdlib>
#include <string>

// What whoever starts the tests says to them.
namespace environment {

inline unsigned number(const char* variable, unsigned otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : static_cast<unsigned>(std::stoul(value));
}

}  // namespace environment
