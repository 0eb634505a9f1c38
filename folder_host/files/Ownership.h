#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"

// Whose a project is. Whoever can write its store decides what is held back from a share, and can set traps for its
// readers: a project is opened that belongs to the caller or to root, any other one only where it is trusted.
namespace folder_host {

// Whether the project in this folder, which belongs to this user, is opened all the same. What it throws passes.
using Trust = std::function<bool(const std::string& root, uid_t owner)>;

// Of what cannot be looked at: no user has it.
inline constexpr uid_t UNKNOWN_OWNER = static_cast<uid_t>(-1);

// The users, each once, besides the caller and root, to whom the store's folder in `root`, the store and its journal
// belong, as far as these are there; of a link, whose the link is. Where `folder`, the store's, is open already, that
// one is looked at, whatever has its name.
std::vector<uid_t> strangersOwning(const std::string& root, const Descriptor* folder = nullptr);

// Whether each of them is trusted; without `trust`, none is.
bool isTrusted(const std::string& root, const Trust& trust);

// Error: STORE_UNTRUSTED, unless isTrusted.
void requireTrusted(const std::string& root, const Trust& trust, const Descriptor* folder = nullptr);

// As people know the user; of one without a name, the number.
std::string userName(uid_t user);

}  // namespace folder_host
