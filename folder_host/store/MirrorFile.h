#pragma once

#include <string>

#include "folder_host/files/Descriptor.h"
#include "folder_host/store/Address.h"
#include "folder_host/store/StoreFile.h"

// Where mirrors are kept: a folder of this user's own with a folder for each project and address in it. All of it may
// be removed at any time; it is made again.
namespace folder_host {

// The mirror of the store at the address for the project in `root`, made where there is none, and made anew where it
// cannot be read; nobody else may read it. In memory where `mirrors` is empty, lies in the project's own folder (whose
// files are read and closed by each share, which would drop SQLite's locks), is another user's, or cannot be written.
StoreDatabase openMirror(const std::string& mirrors, const std::string& root, const Address& address);

// The same to be read alone, as it was seen last; its file has the time when that was. Error: STORE_UNREACHABLE, there
// is none.
StoreDatabase openMirrorOffline(const std::string& mirrors, const std::string& root, const Address& address);

}  // namespace folder_host
