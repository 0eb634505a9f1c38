#pragma once

#include <string>

#include "Json.h"
#include "folder_host/Shown.h"

// What the tool writes, for people or, one JSON object a line, for programs.
namespace project_share {

using folder_host::shown;

struct Manner {
  bool json = false;
  bool quiet = false;     // nothing but what was asked for
  bool colour = false;    // on standard output
  bool progress = false;  // on standard error
};

// How this run writes; set before the first line.
Manner& manner();

// What suits the terminals and the environment: NO_COLOR, TERM=dumb.
Manner usualManner();

// "1 file", "2 files".
std::string counted(std::size_t count, const char* one, const char* many);

// The text for people, marked as what goes.
std::string asGoing(const std::string& text);
// Marked as what calls for attention.
std::string asWarning(const std::string& text);

// Write to standard output: a line for people, or the object in the place of it.
void line(const std::string& text);
void item(const std::string& text, const Json& object);

// What a command did, where nobody asked for quiet.
void done(const std::string& text, const Json& object);

// Throws OUTPUT_FAILED when something did not reach standard output; what the command did is done then.
void finishOutput();

}  // namespace project_share
