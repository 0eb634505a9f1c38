#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Completion.h"
#include "Refusal.h"
#include "output/Output.h"
#include "usage/Usage.h"
#include "usage/Words.h"
#include "words/Names.h"
#include "words/Nearest.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

void goTo(const std::string& folder) {
  std::error_code error;
  std::filesystem::current_path(folder, error);
  // Absolute, because a command that is told will be typed where the user is and not where this run went.
  if (!error) invocation().folder = std::filesystem::current_path(error).string();
  if (!error) return;
  throw Refusal(folder_host::errors::NOT_A_PROJECT,
                "cannot work in " + inQuotes(folder) + ": " + error.message() + "; name a folder that is there");
}

void addOptions(CLI::App& app) {
  app.add_option_function<std::string>("-C", goTo, "Work in this folder instead of the working directory")
      ->transform(unmarked)
      ->type_name("DIR");
  app.add_flag("--json", manner().json, "Write one JSON object a line, also for a refusal");
  app.add_flag("--quiet", manner().quiet, "Write nothing but what was asked for");
  app.add_flag("--long", manner().uuids, "Write UUIDs in lines for people, too");
  app.add_flag("--trust", invocation().trusting, "Open the project although it belongs to another user");
  app.set_version_flag("-V,--version", "project-share " PROJECT_SHARE_VERSION, "Print the version and exit");
}

// Known before the words are understood: what is wrong with them is told in the way that they ask for.
bool wantsJson(int argc, char** argv) {
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    if (std::string_view(argv[i]) == "--json") return true;
  }
  return false;
}

// The command, as far as the words got, and its names up to there.
const CLI::App& namedCommand(const CLI::App& app, std::string& names) {
  names += (names.empty() ? "" : " ") + app.get_name();
  const auto inner = app.get_subcommands();
  return inner.empty() ? app : namedCommand(*inner.front(), names);
}

// What was not understood, and which command or option may have been meant.
std::string unknownWord(const std::string& word, const CLI::App& app) {
  std::string names;
  const CLI::App& command = namedCommand(app, names);
  Nearest nearest(word);
  for (const CLI::App* inner : command.get_subcommands([](const CLI::App*) { return true; })) {
    nearest.offer(inner->get_name(), names + " " + inner->get_name());
  }
  for (const CLI::App* one : {&command, &app}) {
    for (const CLI::Option* option : one->get_options()) {
      for (const std::string& name : option->get_lnames()) nearest.offer("--" + name);
    }
  }
  return fmt::format("{} is not understood{}", inQuotes(word), nearest.best().empty() ? ";" : nearest.hint());
}

// Wrong usage has a code of its own, so that a script can tell a wrong command from one that was refused.
int parse(CLI::App& app, std::vector<std::string> words) {
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    const bool isHelp = dynamic_cast<const CLI::CallForHelp*>(&error) != nullptr;
    if (error.get_exit_code() != 0 || (isHelp && !app.remaining(true).empty())) {
      // A word that was not understood is told of first: what is missing is mostly missing because of it.
      const std::vector<std::string> unknown = app.remaining(true);
      const std::string problem =
          unknown.empty() ? error.what() + std::string(";") : unknownWord(unmarked(unknown.front()), app);
      std::string names;
      namedCommand(app, names);
      return complain(WRONG_USAGE, "usage", problem + " see '" + names + " --help'");
    }
    app.exit(error);  // help was asked for
  }
  // Also behind help and the version: a report that was cut off must not end as done.
  finishOutput();
  return 0;
}

// "help" in the place of a command asks for the help of what follows, as "--help" behind it does.
std::vector<char*> helpAsOption(int argc, char** argv) {
  static char option[] = "--help";
  std::vector<char*> words(argv, argv + argc);
  std::size_t first = 1;
  while (first < words.size() && words[first][0] == '-') first += std::string_view(words[first]) == "-C" ? 2U : 1U;
  if (first >= words.size() || std::string_view(words[first]) != "help") return words;
  words.erase(words.begin() + static_cast<std::ptrdiff_t>(first));
  words.push_back(option);
  return words;
}

}  // namespace

int runCommandLine(int argc, char** argv) {
  // What an earlier call in this process was told must not hold for this one.
  manner() = usualManner();
  invocation() = {};
  invocation().typed = typedWords({argv + std::min(argc, 1), argv + argc});
  Words words;
  CLI::App app("Hands out copies of a folder without what is labelled internal", "project-share");
  app.require_subcommand(1);
  app.footer("'project-share help COMMAND' tells more and gives an example.");
  addOptions(app);
  addProjectCommands(app, words);
  addStoreCommands(app, words);
  addLabelCommands(app, words);
  addProfileCommands(app, words);
  addShareCommands(app, words);
  addHistoryCommands(app, words);
  if (argc > 1 && std::string_view(argv[1]) == "complete") {  // what is still being typed could not be parsed
    const bool isHelp = argc > 3 && std::string_view(argv[2]) == "help";
    complete(app, {argv + (isHelp ? 3 : 2), argv + argc});
    return 0;
  }
  manner().json = wantsJson(argc, argv);
  return parse(app, markedWords(helpAsOption(argc, argv)));
}

}  // namespace project_share
