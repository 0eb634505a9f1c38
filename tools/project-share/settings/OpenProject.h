#pragma once

#include "folder_host/FolderProject.h"

namespace project_share {

// The project that holds the working directory. Errors: those of FolderProject::open; SETTINGS_FAILED where it is
// another user's and the settings cannot tell whether it is trusted.
folder_host::FolderProject openProject();

// The folder as a new project, opened. One that is a project already is refused and left as it is. Errors: those of
// FolderProject::init; SETTINGS_FAILED.
folder_host::FolderProject makeProject(const std::string& folder);

}  // namespace project_share
