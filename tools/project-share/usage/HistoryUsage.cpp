#include <CLI/CLI.hpp>

#include "commands/Commands.h"
#include "usage/Usage.h"
#include "usage/Words.h"

namespace project_share {

namespace {

void addExchangeCommands(CLI::App& app, Words& words) {
  CLI::App* exporting = addCommand(&app, "export", "Write labels, rules, marks and profiles as one text, to be kept",
                                   "export ../labels.json");
  addWord(exporting, "FILE", words.file, "A file to be made, or an export to be replaced (standard output)")
      ->required(false);
  exporting->callback([&] { exportProject(words.file); });
  CLI::App* importing =
      addCommand(&app, "import", "Take over what an export has; what the project has besides stays, and is listed",
                 "import --dry-run ../labels.json");
  addWord(importing, "FILE", words.file, "What export wrote; - is standard input");
  importing->add_flag("--replace", words.import.replaces, "Remove what the file does not have");
  importing->add_flag("--no-marks", words.import.withoutMarks,
                      "Labels, rules and profiles alone: from another project");
  importing->add_flag("--dry-run", words.isDry, "Show what would change, and change nothing");
  importing->callback([&] { importProject(words.file, words.import, words.isDry); });
}

}  // namespace

void addHistoryCommands(CLI::App& app, Words& words) {
  CLI::App* log = addCommand(&app, "log", "List the edits and the shares: when, who, the words typed", "log");
  addNumber(log, "NUMBER", words.number, "One edit, and all that it changed");
  log->add_flag("--all", words.all, "All of them, not the last 20");
  log->callback([&] { showLog(words.number, words.all); });
  CLI::App* undo = addCommand(&app, "undo", "Take back your last edit, or the edit of that number", "undo");
  addNumber(undo, "NUMBER", words.number, "As 'log' shows it; another user's, too");
  undo->callback([&] { undoEdit(words.number); });
  addExchangeCommands(app, words);
}

}  // namespace project_share
