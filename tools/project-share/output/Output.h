#pragma once

#include <string>

#include "output/Json.h"

// What the tool writes, for people or, one JSON object a line, for programs. Texts come here as they are, with whatever
// names they hold; here, and nowhere else, they are escaped (folder_host/text/Printable.h), so that each is one line
// and steers no terminal.
namespace project_share {

struct Manner {
  bool json = false;
  bool quiet = false;     // nothing but what was asked for
  bool uuids = false;     // in lines for people, too
  bool colour = false;    // on standard output
  bool progress = false;  // on standard error
  bool aside = false;     // on standard error alone: standard output is a copy's
};

// How this run writes; set before the first line.
Manner& manner();

// Of what a line names: " (UUID)", and "UUID  " before it in a list. Empty where people get no UUIDs.
std::string uuidBehind(const std::u16string& uuid);
std::string uuidBefore(const std::u16string& uuid);

// What suits the terminals and the environment: NO_COLOR, TERM=dumb.
Manner usualManner();

// "1 file", "2 files".
std::string counted(std::size_t count, const char* one, const char* many);

// What a line for people is about, shown by its colour.
enum class Tone { plain, heldBack, warning };

// Write to standard output, under --quiet too: a line for people, or the object in the place of it. `line` alone is
// never JSON: whoever calls it asks manner() first.
void line(const std::string& text, Tone tone = Tone::plain);
void item(const std::string& text, const Json& object, Tone tone = Tone::plain);

// A whole text to standard output, under --quiet too, as it is: its writer has escaped what needs it.
void document(const std::string& text);

// What a command did, where nobody asked for quiet.
void done(const std::string& text, const Json& object);

// Writes the one line for a failure to standard error, for people or as an object, and gives the code back.
int complain(int code, const std::string& identifier, const std::string& message);

// Throws OUTPUT_FAILED when something did not reach standard output; what the command did is done then.
void finishOutput();

}  // namespace project_share
