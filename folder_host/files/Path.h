#pragma once

#include <set>
#include <string>
#include <string_view>

// Paths as texts: bytes with '/' between names, relative to a folder that is itself "". The disk is not asked.
namespace folder_host {

// The last name of the path; of one name, that. As long as the path is there.
inline std::string_view nameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }  // npos + 1 is 0

// The path of the folder that holds what is at the path.
std::string parentOf(const std::string& path);

// Whether the path is one of these or lies below one; "" is above all.
bool isAtOrBelow(std::string path, const std::set<std::string>& tops);

// Whether an entry of a project can have this path: neither the project's folder nor what is its store's.
bool isEntryPath(std::string_view path);

}  // namespace folder_host
