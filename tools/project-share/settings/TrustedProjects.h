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

// As the user's own settings have them. Error: SETTINGS_FAILED.
TrustedProjects trustedProjects();

// As changeSettings: it sees what another program stored before.
void changeTrustedProjects(const std::function<void(TrustedProjects&)>& change);

}  // namespace project_share
