#include "OpenProject.h"

namespace project_share {

folder_host::FolderProject openProject() { return folder_host::FolderProject::open("."); }

}  // namespace project_share
