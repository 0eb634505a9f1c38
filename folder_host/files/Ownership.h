#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"

// Whose a project is. Whoever can write its store decides what is held back from a share, and can set traps for its
// readers: a project is opened that belongs to the caller or to root, any other one only where it is trusted.
namespace folder_host {

// Whether the project in this folder is opened though it belongs to this user. What it throws passes.
using Trust = std::function<bool(const std::string& root, uid_t owner)>;

// The owner of what cannot be looked at: no user has this number.
inline constexpr uid_t UNKNOWN_OWNER = static_cast<uid_t>(-1);

// The users other than the caller and root who own the store's folder in `root`, the store, its journal or its address,
// in this order, each once. What is not there has no owner; of a link, it is the owner of the link itself. Where the
// store's folder is open already, it is given as `folder`: that one is looked at, and not what has its name by now.
std::vector<uid_t> strangersOwning(const std::string& root, const Descriptor* folder = nullptr);

// Whether each of them is trusted; without `trust`, nobody is.
bool isTrusted(const std::string& root, const Trust& trust);

// Error: STORE_UNTRUSTED, unless isTrusted.
void requireTrusted(const std::string& root, const Trust& trust, const Descriptor* folder = nullptr);

// As people know the user; of one without a name, the number.
std::string userName(uid_t user);

}  // namespace folder_host
