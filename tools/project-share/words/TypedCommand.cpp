#include "words/TypedCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "folder_host/files/Descriptor.h"
#include "folder_host/text/Printable.h"

namespace project_share {

namespace {

// What no shell gives a meaning to. All else is quoted, because names come from strangers and the command is meant to
// be pasted.
bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("/._-+@%:,=").find(c) != std::string_view::npos;
}

}  // namespace

Invocation& invocation() {
  static Invocation current;
  return current;
}

std::string shellWord(const std::string& word) {
  if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? "'\"'\"'" : std::string(1, c);
  return quoted + "'";
}

bool isTyped(const std::string& word) { return folder_host::shown(word) == word; }

// What is told is meant to be copied into a shell. It has the options of this run, or it would work elsewhere.
std::string commandOf(const std::vector<std::string>& words, const std::string& option) {
  if (!std::all_of(words.begin(), words.end(), isTyped)) {
    return fmt::format("project-share {}, with UUIDs, and paths by --stdin -0: a name cannot be typed as it looks",
                       fmt::join(words.begin(), words.begin() + 2, " "));
  }
  std::string command = "project-share";
  if (invocation().trusting) command += " --trust";
  if (!invocation().folder.empty()) command += " -C " + shellWord(invocation().folder);
  bool endsOptions = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i == 2 && !option.empty()) command += " " + option;
    // A name may begin with a dash: behind "--" it is no option.
    if (!endsOptions && !words[i].empty() && words[i].front() == '-') endsOptions = (command += " --", true);
    command += " " + shellWord(words[i]);
  }
  return command;
}

std::string typedWords(const std::vector<std::string>& words) {
  std::string typed;
  for (const std::string& word : words) typed += (typed.empty() ? "" : " ") + shellWord(word);
  return typed;
}

// Elsewhere the absolute path, which is right in any working directory.
std::string fromHere(const std::string& root, const std::string& path) {
  std::error_code error;
  if (std::filesystem::current_path(error) == root) return path.empty() ? "." : path;
  if (path.empty()) return root;
  return folder_host::joined(root == "/" ? "" : root, path);
}

}  // namespace project_share
