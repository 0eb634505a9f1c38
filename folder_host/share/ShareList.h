#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// The list of shares begins so, under whatever name.
inline constexpr std::string_view SHARE_LIST_HEAD = "project-share shares 1\n";

// What a project's folder keeps of its shares, a line each, beside the store: the folder's alone, nobody else is to
// read it. All functions fail with std::system_error.

// Fails where addShare would: the store's folder has to be writable, and nothing but a file may be in the list's place.
// Makes nothing.
void checkShareList(const Descriptor& storeFolder);

// Adds a line, durably, and makes the list where there is none. There is no end of a line in the line.
void addShare(const Descriptor& storeFolder, std::string_view line);

// In the order in which they were added; none where there is no list. Of a list that is longer than anyone reads (16
// MiB), the last.
std::vector<std::string> sharesListed(const Descriptor& storeFolder);

}  // namespace folder_host
