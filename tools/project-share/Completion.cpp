#include "Completion.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>

#include "folder_host/FolderProject.h"
#include "folder_host/text/Utf.h"
#include "judgement/RiskKinds.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Profiles.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::FolderProject;

namespace {

// Where the word to be completed stands.
struct Place {
  const CLI::App* command;              // as far as the words name it
  const CLI::Option* option = nullptr;  // whose value it is
  std::size_t position = 0;             // among the other words of the command
  bool mayBeOption = true;
};

const CLI::App* commandNamed(const std::string& word, const CLI::App& group) {
  const auto found = group.get_subcommands([&](const CLI::App* command) { return command->get_name() == word; });
  return found.empty() ? nullptr : found.front();
}

// None where there is no such option, or it takes no value. The command first: an option of the program may stand
// behind it, and one of its own comes before that.
const CLI::Option* valuedOption(const std::string& word, const CLI::App& command, const CLI::App& program) {
  const CLI::Option* option = command.get_option_no_throw(word);
  if (option == nullptr) option = program.get_option_no_throw(word);
  return option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
}

// Goes where the words say that the command is to work.
Place placeBehind(const std::vector<std::string>& words, const CLI::App& program) {
  Place place{&program};
  for (const std::string& word : words) {
    if (place.option != nullptr) {
      if (place.option->check_name("-C")) std::filesystem::current_path(word);
      place.option = nullptr;
    } else if (place.mayBeOption && word == "--") {
      place.mayBeOption = false;
    } else if (place.mayBeOption && word.size() > 1 && word.front() == '-') {
      place.option = valuedOption(word, *place.command, program);
      // In the place of the profile, and of the label.
      if (word == "--whole" || word.rfind("--labels", 0) == 0) ++place.position;
    } else if (const CLI::App* command = commandNamed(word, *place.command)) {
      place.command = command;
    } else {
      ++place.position;
    }
  }
  return place;
}

// What help calls the word: "LABEL". Empty where none is expected. What is completed follows from the words of the
// help, so that a new command is completed without a second table.
std::string placeholderOf(const Place& place) {
  if (place.option != nullptr) return place.option->get_type_name();
  std::vector<std::string> names;
  bool repeats = false;
  for (const CLI::Option* option : place.command->get_options()) {
    if (!option->get_positional()) continue;
    for (const std::string& name : CLI::detail::split(option->get_name(), ' ')) names.push_back(name);
    repeats = option->get_items_expected_max() > 1;
  }
  if (place.position < names.size()) return names[place.position];
  return repeats ? names.back() : "";
}

// RISK[,RISK...] or RISK=PATH
bool isRisk(const std::string& placeholder) { return placeholder.rfind("RISK", 0) == 0; }

// With what they mean, which may be empty.
using Candidates = std::map<std::string, std::string>;

void addOptions(const CLI::App& command, Candidates& candidates) {
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) candidates["--" + name] = option->get_description();
    for (const std::string& name : option->get_snames()) candidates["-" + name] = option->get_description();
  }
}

// Without names that are shown in another way than they are typed, and those that would be taken for options. The
// project is opened as by any command: one of another user that is not trusted gives no names. No server
// is asked while somebody types.
void addNames(bool ofLabels, Candidates& candidates) {
  // Beside a journal there is someone to be waited for, or a change to be undone, which would be to write.
  if (std::filesystem::exists(FolderProject::rootOf(".") + "/" + folder_host::STORE_FILE + "-journal")) return;
  const FolderProject project = openAsSeen();
  std::vector<std::string> names;
  if (ofLabels) {
    for (const auto& label : project.labels().list()) names.push_back(nameOf(label));
  } else {
    for (const auto& profile : profilesByName(*profiles::createManager(project.metadata()))) {
      names.push_back(folder_host::toBytes(nameOf(*profile)));
    }
  }
  for (const std::string& name : names) {
    if (!name.empty() && name.front() != '-' && isTyped(name)) candidates[name];
  }
}

Candidates candidatesFor(const std::string& expected, const std::string& word) {
  Candidates candidates;
  const bool isLabel = expected.rfind("LABEL", 0) == 0;
  if (isLabel || expected == "PROFILE") addNames(isLabel, candidates);
  if (expected == "KIND") {
    for (const FilterKind& kind : filterKinds()) candidates[kind.word] = kind.meaning;
  }
  if (expected.find_first_not_of("abcdefghijklmnopqrstuvwxyz-|") == std::string::npos) {  // the words themselves
    for (const std::string& one : CLI::detail::split(expected, '|')) candidates[one];
  }
  if (isRisk(expected)) {
    for (const std::string& risk : allowableRisks()) candidates[risk];
  }
  if (expected.find(',') == std::string::npos) return candidates;
  // A shell takes the whole word for what is completed, so each candidate begins with what stands there already.
  const std::string others = word.substr(0, word.rfind(',') + 1);
  Candidates behind;
  for (auto& [candidate, meaning] : candidates) behind[others + candidate] = std::move(meaning);
  return behind;
}

std::string offer(const Candidates& candidates, const std::string& before = {}) {
  std::string lines = "words\n";
  for (const auto& [candidate, meaning] : candidates) lines += fmt::format("{}{}\t{}\n", before, candidate, meaning);
  return lines;
}

std::string offerFor(std::string word, Place place, const CLI::App& program) {
  // Behind "--" nothing is an option, and what follows an option that takes a value is that value.
  const bool isOption = place.option == nullptr && place.mayBeOption && word.rfind('-', 0) == 0;
  const std::string before = isOption ? word.substr(0, word.find('=') + 1) : "";  // --receipt=FILE in one word
  if (isOption && before.empty()) {
    Candidates options;
    addOptions(*place.command, options);
    addOptions(program, options);
    return offer(options);
  }
  if (isOption) {
    place.option = valuedOption(before.substr(0, before.size() - 1), *place.command, program);
    if (place.option == nullptr) return {};
    word.erase(0, before.size());
  }
  const auto commands = place.command->get_subcommands([](const CLI::App*) { return true; });
  if (place.option == nullptr && !commands.empty()) {
    Candidates names;
    for (const CLI::App* command : commands) names[command->get_name()] = command->get_description();
    return offer(names);
  }
  const std::string expected = placeholderOf(place);
  if (expected == "PATH" || expected == "FILE" || (isRisk(expected) && word.find('=') != std::string::npos))
    return "files\n";
  for (const char* folder : {"FOLDER", "DIR", "DEST", "COPY"}) {
    if (expected == folder) return "folders\n";
  }
  return offer(candidatesFor(expected, word), before);
}

}  // namespace

void complete(const CLI::App& program, std::vector<std::string> words) {
  const std::string word = words.empty() ? "" : words.back();
  if (!words.empty()) words.pop_back();
  // Printed at the end and at once: where something fails, nothing has been offered.
  std::string lines;
  try {
    lines = offerFor(word, placeBehind(words, program), program);
  } catch (...) {
    return;  // whoever is still typing is not told
  }
  std::fwrite(lines.data(), 1, lines.size(), stdout);
}

}  // namespace project_share
