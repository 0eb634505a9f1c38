#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "exchange/Merging.h"

// What the words of a command line are read into, and how commands and options are added that read them. Every error is
// a CLI::ParseError with WRONG_USAGE.
namespace project_share {

inline constexpr int WRONG_USAGE = 2;

inline constexpr const char* LABEL_HELP = "CATEGORY/NAME, NAME, or UUID or its beginning";
inline constexpr const char* PROFILE_HELP = "Name, or UUID or its beginning";

// The words of a command line, filled while it is parsed.
struct Words {
  std::string folder = ".";
  std::string store;  // an address
  std::string edit;   // an id
  std::string label;
  std::string profile;
  std::string name;
  std::string kind;
  std::vector<std::string> labels;
  std::vector<std::string> otherLabels;
  std::vector<std::string> paths;
  std::vector<std::string> patterns;
  std::vector<std::string> shared;  // the profile, if any, and the destination
  std::vector<std::string> allowed;
  std::vector<std::string> forbidden;
  std::optional<std::string> from;
  std::string receipt;
  std::string page;
  std::string since;
  std::string approved;
  std::int64_t keptReceipts = ShareWords().keptReceipts;
  bool checksum = false;
  bool updates = false;
  bool replaces = false;
  std::int64_t number = 0;
  std::string file = "-";
  ImportWords import;
  bool isDry = false;
  std::string only;
  std::int64_t depth = 0;
  bool folderOnly = false;
  bool noExceptions = false;
  bool all = false;
  bool fromInput = false;
  bool zeroEnded = false;
  bool whole = false;
  bool strict = false;
  bool dryRun = false;
  bool plain = false;
  bool forget = false;
  bool create = false;
  bool missing = false;
  bool notHere = false;
  bool back = false;
};

// CLI11 takes a word in brackets apart and passes over a "++", and would so label other files than the ones named. A
// mark before such a word keeps it whole while it is parsed. The words are in CLI11's order: the last one first,
// without the program's name.
std::vector<std::string> markedWords(const std::vector<char*>& typed);
// The word as it was typed.
std::string unmarked(const std::string& word);

// Each command has an example: people copy one sooner than they read a list of options.
CLI::App* addCommand(CLI::App* group, const char* name, const char* description, const std::string& example);

// One word, or any number of them into a vector.
template <class Word>
CLI::Option* addWord(CLI::App* command, const std::string& name, Word& word, const std::string& description = {}) {
  return command->add_option(name, word, description)->required()->transform(unmarked);
}

// An empty one, such as of a variable that is not set, would mean that none was given.
void requireName(const char* what, const std::string& name);
// An option that takes a name.
void addNamed(CLI::App* command, const char* option, std::string& name, const char* type, const char* description);
// LABEL[,LABEL...], any number of times.
CLI::Option* addLabelList(CLI::App* command, const char* name, std::vector<std::string>& labels,
                          const char* description);
// By digits alone, from `least` on.
CLI::Option* addNumber(CLI::App* command, const char* name, std::int64_t& number, const char* description,
                       std::int64_t least = 1);
CLI::Option* addOffline(CLI::App* command);

// With the letters A to F in lower case.
std::string lowered(std::string digits);

}  // namespace project_share
