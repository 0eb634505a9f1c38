#pragma once

#include <CLI/CLI.hpp>

#include "usage/Words.h"

// The program's commands, with their words, options and examples. Each runs when it was parsed, on the words that were
// read by then, which outlive the program's description.
namespace project_share {

// init, join, trust and status.
void addProjectCommands(CLI::App& app, Words& words);
void addStoreCommands(CLI::App& app, Words& words);
void addLabelCommands(CLI::App& app, Words& words);
void addProfileCommands(CLI::App& app, Words& words);
// preview, why, check, share and verify.
void addShareCommands(CLI::App& app, Words& words);
// log, undo, export and import.
void addHistoryCommands(CLI::App& app, Words& words);

}  // namespace project_share
