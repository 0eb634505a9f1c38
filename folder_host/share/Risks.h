#pragma once

#include <string>
#include <vector>

#include "folder_host/share/Allowances.h"
#include "folder_host/share/WorkingCopy.h"

namespace folder_host {

// What speaks against a hand-out as things stand: nothing failed, but something may be shared that was not meant to be,
// or may be lost on the way.
struct Risk {
  const char* identifier;                    // stable, for programs
  std::string path;                          // of the entry that it is about; empty where it is about none
  std::string message;                       // one line for people
  std::vector<std::string> otherPaths = {};  // of entries that it is about as well
};

// What is amiss with the entries that the copy shares. NESTED_PROJECT: another project's store is among them.
// NAMES_COLLIDE: two names in a folder become one where case, or the way in which accents are written, makes no
// difference.
std::vector<Risk> risksAmong(const WorkingCopy& copy);

}  // namespace folder_host
