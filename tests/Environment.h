#pragma once

#include <cstdlib>
#include <fstream>
#include <string>

// What whoever starts the tests says to them.
namespace environment {

inline unsigned number(const char* variable, unsigned otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : static_cast<unsigned>(std::stoul(value));
}

// Where SURVIVED names a folder, for the line that sums up what the checks have survived.
inline void noteSurvived(const std::string& check, std::size_t survived, std::size_t all) {
  if (const char* folder = std::getenv("SURVIVED")) {
    std::ofstream(std::string(folder) + "/" + check) << survived << ' ' << all << '\n';
  }
}

}  // namespace environment
