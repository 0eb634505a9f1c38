#include "words/Entries.h"

#include <fmt/format.h>

#include "folder_host/files/Path.h"
#include "folder_host/text/FoldedName.h"
#include "words/Names.h"
#include "words/Nearest.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EntryTable;
using folder_host::foldedName;

std::string entryHint(const std::string& root, const EntryTable& entries, const std::string& path) {
  const std::string name(folder_host::nameOf(path)), folder = folder_host::parentOf(path), look = foldedName(name);
  const auto above = folder.empty() ? EntryTable::ROOT : entries.find(folder);
  Nearest beside(name), elsewhere(name);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string known(folder_host::nameOf(entries[i].path));
    if (above && entries.parentOf(i) == *above) beside.offer(known, fromHere(root, entries[i].path));
    if (foldedName(known) == look) elsewhere.offer(known, fromHere(root, entries[i].path));
  }
  return beside.best().empty() ? elsewhere.hint() : beside.hint();
}

Refusal noEntry(const std::string& root, const EntryTable& entries, const std::string& path, const std::string& named) {
  const std::string hint = entryHint(root, entries, path);
  return {folder_host::errors::PATH_NOT_AN_ENTRY,
          fmt::format("{} is no file, folder or link of the project{}", inQuotes(named),
                      hint.empty() ? "; name something that is there" : hint)};
}

bool isGlob(const std::string& word) { return word.find_first_of("*?[") != std::string::npos; }

// A rule that takes a label away is to match no more than the shell would have: in this folder alone.
std::string globHint(const std::string& action, const std::string& label, const std::string& path,
                     const std::string& named) {
  const bool isTop = path.find('/') == std::string::npos;
  const std::string pattern = action == "attach" ? path : (isTop ? "!/" : "!") + path;
  std::string hint =
      "; by a rule, for what it matches now and later: " + commandOf({"label", "rule", "add", label, pattern});
  const std::string folder = folder_host::parentOf(named), name(folder_host::nameOf(named));
  if (isGlob(folder) || named.front() == '/' || named.front() == '-' || !isTyped(named)) return hint;
  return hint + fmt::format("; now: find {} -maxdepth 1 -name {} -print0 | {}",
                            folder.empty() ? "." : shellWord(folder), shellWord(name),
                            commandOf({"label", action, label}, "--stdin -0"));
}

}  // namespace project_share
