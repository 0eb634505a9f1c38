#pragma once

#include <memory>

#include "folder_host/FolderProject.h"
#include "folder_host/files/EntryTable.h"

namespace project_share {

using Table = std::shared_ptr<const folder_host::EntryTable>;

// What the project's folder holds. An edit that asks for it asks before it begins: nobody waits for the disk.
inline Table tableOf(const folder_host::FolderProject& project) {
  return std::make_shared<const folder_host::EntryTable>(std::make_shared<const folder_host::Listing>(project.list()));
}

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
