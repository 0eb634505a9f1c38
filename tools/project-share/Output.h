#pragma once

#include <string>

#include "folder_host/Shown.h"

// What the tool writes for people.
namespace project_share {

using folder_host::shown;

// "1 file", "2 files".
std::string counted(std::size_t count, const char* one, const char* many);

// Writes to standard output.
void line(const std::string& text);

// Throws OUTPUT_FAILED when something did not reach standard output; what the command did is done then.
void finishOutput();

}  // namespace project_share
