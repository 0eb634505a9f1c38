#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "output/Json.h"

// A list of this user's settings, in a file of its own. Settings that another user could have written are not believed.
namespace project_share {

struct SettingsFile {
  const char* name;       // in the folder for settings
  const char* list;       // what the file calls the list
  const char* meanwhile;  // what a refusal says of doing without; may be empty
};

// Gives each element to `take`, whose nlohmann::json::exception says that it is none; none where there is no file.
// Error: SETTINGS_FAILED (they are not believed, cannot be read, or are broken).
void readSettings(const SettingsFile& file, const std::function<void(const nlohmann::json&)>& take);

// Stores what `change` gives, which may read them. One such change at a time, all of it or nothing: it waits for
// another program that is changing them. A refusal that `change` throws passes, and nothing is stored then. Error:
// SETTINGS_FAILED.
void changeSettings(const SettingsFile& file, const std::function<Json()>& change);

// An absolute folder that the variable names or, without one, `inHome` in the home folder, with the program's own name
// behind it. Empty where the user has neither.
std::string ownFolder(const char* variable, const char* inHome);

}  // namespace project_share
