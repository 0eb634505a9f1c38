#pragma once

#include "folder_host/FolderProject.h"

namespace project_share {

// Runs the edit in one write scope, opened before it reads: so two processes lose no edit. It is undone where the edit
// throws; a commit that fails is reported here. Gives what the edit gives, once it is kept.
template <class Action>
auto edit(const folder_host::FolderProject& project, const Action& action) {
  auto result = [&] {
    const auto scope = project.beginWrite();
    return action();
  }();
  project.confirm();
  return result;
}

}  // namespace project_share
