#include "words/Names.h"

#include <fmt/format.h>

#include "Refusal.h"

namespace project_share {

std::string nameOf(const folder_host::Entry& entry) {
  return entry.path + (entry.kind == folder_host::EntryKind::folder ? "/" : "");
}

// Of several, none is chosen: a guess could label, or hand out, by the wrong one.
void requireOne(std::size_t found, const char* what, const std::string& word, const char* absent,
                const char* ambiguous) {
  if (found == 1) return;
  if (found == 0) {
    throw Refusal(absent,
                  fmt::format("there is no {0} {1}; 'project-share {0} list' shows them", what, inQuotes(word)));
  }
  throw Refusal(ambiguous, fmt::format("{2} {0}s are named {1}; give the UUID, which 'project-share {0} list' shows",
                                       what, inQuotes(word), found));
}

}  // namespace project_share
