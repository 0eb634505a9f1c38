#pragma once

#include "folder_host/store/Address.h"

// The addresses of stores that this user has said may be asked, from this machine. A project names its address itself,
// and may be anyone's: without that, whoever gets somebody to open a folder would choose a server that learns of it.
namespace project_share {

// Error of each: SETTINGS_FAILED.
bool isTrustedStore(const folder_host::Address& address);
// False where it was so before.
bool trustStore(const folder_host::Address& address);
bool forgetStore(const folder_host::Address& address);

}  // namespace project_share
