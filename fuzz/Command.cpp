// Any commands, a line each, in a project. No word leads out of the scratch folder.

#include <cctype>

#include "Fuzz.h"
#include "Program.h"

namespace {

// Of the folder above nothing but the two names that a share is to have.
bool leadsOut(std::string words) {
  for (const char* name : {" ../copy", " ../receipt"}) {
    for (std::size_t at = 0; (at = words.find(name, at)) != std::string::npos;) words.replace(at, 4, " x");
  }
  for (std::size_t at = 0; (at = words.find('/', at)) != std::string::npos; ++at) {
    const std::size_t word = words.find_last_of(" \n", at) + 1;
    if (words[word] == '-' || word == at || std::isalnum(static_cast<unsigned char>(words[at - 1])) == 0) return true;
  }
  return words.find("..") != std::string::npos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string lines(reinterpret_cast<const char*>(bytes), size);
  if (leadsOut(lines)) return 0;
  makeProject();
  runProgram(lines, true);
  return 0;
}
