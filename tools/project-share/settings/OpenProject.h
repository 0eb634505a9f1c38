#pragma once

#include <optional>

#include "folder_host/FolderProject.h"
#include "folder_host/store/Address.h"

namespace project_share {

// The project that holds the working directory. Of a store on a server, the first answer stands for the whole run;
// under
// --offline it is not asked, and a line says first of when the answer is. Errors: those of FolderProject::open;
// ADDRESS_UNKNOWN, where this user has not said that the store's address may be asked; SETTINGS_FAILED where it is
// another user's, or has its store on a server, and the settings cannot tell whether that is trusted.
folder_host::FolderProject openProject();

// The same, which asks no server and prints nothing: as it was seen last.
folder_host::FolderProject openAsSeen();

// The folder as a new project, opened; its store is in it, or is made at the address. One that is a project already is
// refused and left as it is. Errors: those of FolderProject::init and initAt; SETTINGS_FAILED.
folder_host::FolderProject makeProject(const std::string& folder, const std::optional<folder_host::Address>& store);

// The folder as another one of the project that has its store at the address. Errors: those of FolderProject::join;
// SETTINGS_FAILED.
folder_host::FolderProject joinProject(const std::string& folder, const folder_host::Address& store);

// Moves its store to the address, which is made. Errors: those of FolderProject::moveTo; SETTINGS_FAILED.
void moveStore(const folder_host::FolderProject& project, const folder_host::Address& to);

// What the refusal says, and what to do about it where that depends on the project that was opened.
std::string withAdvice(const folder_host::Error& refusal);

}  // namespace project_share
