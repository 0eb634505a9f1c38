#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace project_share {

// A project of another user that this user opens all the same.
struct TrustedProject {
  std::string root;
  uid_t owner;
};

inline bool operator==(const TrustedProject& a, const TrustedProject& b) {
  return a.root == b.root && a.owner == b.owner;
}

using TrustedProjects = std::vector<TrustedProject>;

// As the user's own settings have them; none where there are no settings. Settings that another user could have written
// are not believed. Error: SETTINGS_FAILED (they are not believed, cannot be read, or are broken).
TrustedProjects trustedProjects();

// One such change at a time, all of it or nothing: it waits for another program that is changing them, and sees what
// that one stored. A refusal that `change` throws passes, and nothing is stored then. Error: SETTINGS_FAILED.
void changeTrustedProjects(const std::function<void(TrustedProjects&)>& change);

}  // namespace project_share
