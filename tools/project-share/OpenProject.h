#pragma once

#include "folder_host/FolderProject.h"

namespace project_share {

// The project that holds the working directory. Errors: those of FolderProject::open.
folder_host::FolderProject openProject();

}  // namespace project_share
