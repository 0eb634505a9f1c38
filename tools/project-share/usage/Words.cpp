#include "usage/Words.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>

#include "output/Output.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

constexpr char MARK = '\x01';

std::string marked(const std::string& word) {
  return !word.empty() && (word.front() == '[' || word.front() == '+' || word.front() == MARK) ? MARK + word : word;
}

}  // namespace

// A word that has the mark's character in front by itself is marked as well, so that it comes back as it was.
std::string unmarked(const std::string& word) { return !word.empty() && word.front() == MARK ? word.substr(1) : word; }

// Behind "--" each word is marked in its place: CLI11 would take none there for a list of words that has begun before.
std::vector<std::string> markedWords(const std::vector<char*>& typed) {
  std::vector<std::string> words;
  bool endsOptions = false;
  for (std::size_t i = 1; i < typed.size(); ++i) {
    const std::string word = typed[i];
    if (!endsOptions && word == "--") {
      endsOptions = true;
    } else {
      words.push_back(endsOptions ? MARK + word : marked(word));
    }
  }
  std::reverse(words.begin(), words.end());
  return words;
}

CLI::App* addCommand(CLI::App* group, const char* name, const char* description, const std::string& example) {
  return group->add_subcommand(name, description)
      ->footer("Example:\n  project-share " + example)
      ->fallthrough();  // the options of the program may stand anywhere
}

void requireName(const char* what, const std::string& name) {
  if (name.empty()) throw CLI::ParseError(fmt::format("{} needs a name", what), WRONG_USAGE);
}

void addNamed(CLI::App* command, const char* option, std::string& name, const char* type, const char* description) {
  const auto read = [option, &name](const std::string& marked) { requireName(option, name = unmarked(marked)); };
  command->add_option_function<std::string>(option, read, description)->type_name(type);
}

CLI::Option* addLabelList(CLI::App* command, const char* name, std::vector<std::string>& labels,
                          const char* description) {
  // One word each: else the option would take the words behind it, too.
  return command->add_option(name, labels, description)
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("LABEL[,LABEL...]");
}

// CLI11 would read "010" as eight, and a number that is too great as the greatest.
CLI::Option* addNumber(CLI::App* command, const char* name, std::int64_t& number, const char* description,
                       std::int64_t least) {
  const auto read = [&number, name, least](const std::string& marked) {
    const std::string word = unmarked(marked);
    const char* end = word.data() + word.size();
    const auto [last, error] = std::from_chars(word.data(), end, number);
    if (error == std::errc() && last == end && number >= least) return;
    throw CLI::ParseError(fmt::format("{} is a number from {} on, and {} is none", name, least, inQuotes(word)),
                          WRONG_USAGE);
  };
  return command->add_option_function<std::string>(name, read, description)->type_name("");
}

CLI::Option* addOffline(CLI::App* command) {
  return command->add_flag("--offline", invocation().isOffline,
                           "Of a store on a server: show what was seen last, and ask no server");
}

std::string lowered(std::string digits) {
  for (char& c : digits) c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
  return digits;
}

}  // namespace project_share
