#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Completion.h"
#include "Refusal.h"
#include "commands/Commands.h"
#include "exchange/Merging.h"
#include "folder_host/share/Shape.h"
#include "judgement/Judgement.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Names.h"
#include "words/Nearest.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

constexpr int WRONG_USAGE = 2;

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
// mark before such a word keeps it whole while it is parsed.
constexpr char MARK = '\x01';

std::string marked(const std::string& word) {
  return !word.empty() && (word.front() == '[' || word.front() == '+' || word.front() == MARK) ? MARK + word : word;
}

// A word that has the mark's character in front by itself is marked as well, so that it comes back as it was.
std::string unmarked(const std::string& word) { return !word.empty() && word.front() == MARK ? word.substr(1) : word; }

// As CLI11 wants them: the last one first, without the program's name. Behind "--" each word is marked in its place:
// CLI11 would take none there for a list of words that has begun before.
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

// One word, or any number of them into a vector.
template <class Word>
CLI::Option* addWord(CLI::App* command, const std::string& name, Word& word, const std::string& description = {}) {
  return command->add_option(name, word, description)->required()->transform(unmarked);
}

// An empty one, such as of a variable that is not set, would mean that none was given.
void requireName(const char* what, const std::string& name) {
  if (name.empty()) throw CLI::ParseError(fmt::format("{} needs a name", what), WRONG_USAGE);
}

// An option that takes a name.
void addNamed(CLI::App* command, const char* option, std::string& name, const char* type, const char* description) {
  const auto read = [option, &name](const std::string& marked) { requireName(option, name = unmarked(marked)); };
  command->add_option_function<std::string>(option, read, description)->type_name(type);
}

constexpr const char* LABEL_HELP = "CATEGORY/NAME, NAME, or UUID or its beginning";
constexpr const char* PROFILE_HELP = "Name, or UUID or its beginning";

// LABEL[,LABEL...], any number of times.
CLI::Option* addLabelList(CLI::App* command, const char* name, std::vector<std::string>& labels,
                          const char* description) {
  // One word each: else the option would take the words behind it, too.
  return command->add_option(name, labels, description)
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("LABEL[,LABEL...]");
}

// Each command has an example: people copy one sooner than they read a list of options.
CLI::App* addCommand(CLI::App* group, const char* name, const char* description, const std::string& example) {
  return group->add_subcommand(name, description)
      ->footer("Example:\n  project-share " + example)
      ->fallthrough();  // the options of the program may stand anywhere
}

// The paths of the command line or, when these are wanted, of standard input. Both at once is a mistake of which no
// guess is safe: one of the two lists would silently get no label.
const std::vector<std::string>& pathsOf(Words& words) {
  if (words.fromInput != words.paths.empty()) {
    throw CLI::ParseError("give the paths either as words or by --stdin", WRONG_USAGE);
  }
  if (words.fromInput) words.paths = readPaths(words.zeroEnded ? '\0' : '\n');
  if (words.paths.empty()) throw CLI::ParseError("there is no path on standard input", WRONG_USAGE);
  return words.paths;
}

// By digits alone, from `least` on: CLI11 would read "010" as eight, and a number that is too great as the greatest.
CLI::Option* addNumber(CLI::App* command, const char* name, std::int64_t& number, const char* description,
                       std::int64_t least = 1) {
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

constexpr const char* ADDRESS_HELP = "postgresql://HOST[:PORT]/DATABASE?project=NAME";

CLI::Option* addOffline(CLI::App* command) {
  return command->add_flag("--offline", invocation().isOffline,
                           "Of a store on a server: show what was seen last, and ask no server");
}

void addProjectCommands(CLI::App& app, Words& words) {
  CLI::App* init = addCommand(&app, "init", "Make a folder a project", "init my-folder");
  addWord(init, "FOLDER", words.folder, "The folder (the working directory)")->required(false);
  addNamed(init, "--store", words.store, "ADDRESS", "Make its store on a server, for several folders and people");
  init->callback([&] { initProject(words.folder, words.store); });
  CLI::App* join = addCommand(&app, "join", "Make a folder another one of a project that has its store on a server",
                              "join 'postgresql://db.example/teams?project=handbook' my-folder");
  addWord(join, "ADDRESS", words.store, ADDRESS_HELP);
  addWord(join, "FOLDER", words.folder, "The folder (the working directory)")->required(false);
  join->callback([&] { joinStore(words.store, words.folder); });
  CLI::App* trust =
      addCommand(&app, "trust", "Open a project from now on although it belongs to another user", "trust /srv/team");
  addWord(trust, "FOLDER", words.folder, "In the project (the working directory)")->required(false);
  trust->add_flag("--forget", words.forget, "Trust the project no more");
  trust->callback([&] { words.forget ? forgetProject(words.folder) : trustProject(words.folder); });
  CLI::App* status =
      addCommand(&app, "status", "Show what is labelled, what is not, and what a share would be refused for", "status");
  status->add_flag("--all", words.all, "Each entry without a label, not folder by folder");
  addOffline(status);
  status->callback([&] { showStatus(words.all); });
}

void addMove(CLI::App* group, Words& words) {
  CLI::App* move = addCommand(group, "move", "Move the store from the folder to a server, or back",
                              "store move 'postgresql://db.example/teams?project=handbook'");
  CLI::Option* to = addWord(move, "ADDRESS", words.store, ADDRESS_HELP)->required(false);
  move->add_flag("--back", words.back, "Into the folder; on the server it is closed for everyone")->excludes(to);
  move->callback([&] {
    if (words.back) return moveStoreBack();
    if (words.store.empty()) throw CLI::ParseError("store move takes ADDRESS or --back", WRONG_USAGE);
    moveStoreTo(words.store);
  });
}

std::string lowered(std::string digits) {
  for (char& c : digits) c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
  return digits;
}

// Of what is none nobody could say that it is not kept.
std::string editIdOf(const std::string& word) {
  constexpr std::string_view FORM = "00000000-0000-0000-0000-000000000000";
  std::string id = lowered(word), form = id;
  for (char& c : form) c = std::string_view("0123456789abcdef").find(c) != std::string_view::npos ? '0' : c;
  if (form == FORM) return id;
  throw CLI::ParseError("store check takes the id of an edit as its refusal had it, a UUID", WRONG_USAGE);
}

void addStoreCommands(CLI::App& app, Words& words) {
  CLI::App* group =
      addCommand(&app, "store", "Where labels, rules and profiles stand: in the folder or on a server", "store show");
  group->require_subcommand(1);
  addCommand(group, "show", "Show where the store is, and in which state", "store show")->callback([] { showStore(); });
  addMove(group, words);
  CLI::App* accept = addCommand(
      group, "accept", "Show which edits a server has lost, and go on with what it has where their number is given",
      "store accept 2");
  addNumber(accept, "COUNT", words.number, "How many edits are lost, as it shows without COUNT");
  accept->callback([&] { acceptServer(words.number); });
  CLI::App* check = addCommand(group, "check", "Tell whether an edit was kept of which a server did not say so in time",
                               "store check 0f8fad5b-d9cb-469f-a165-70867728950e");
  addWord(check, "ID", words.edit, "Of the edit, as its refusal had it");
  check->callback([&] { checkEdit(editIdOf(unmarked(words.edit))); });
  CLI::App* trust = addCommand(group, "trust", "Say that a store may be asked from this machine, as you",
                               "store trust 'postgresql://db.example/teams?project=handbook'");
  addWord(trust, "ADDRESS", words.store, ADDRESS_HELP);
  trust->add_flag("--forget", words.forget, "That it may not");
  trust->callback([&] { words.forget ? forgetStoreAt(words.store) : trustStoreAt(words.store); });
}

void addInput(CLI::App* command, Words& words) {
  CLI::Option* input = command->add_flag("--stdin", words.fromInput, "Read the paths from standard input, one a line");
  command->add_flag("-0", words.zeroEnded, "With --stdin: each path ends with a zero byte")->needs(input);
}

void addPaths(CLI::App* command, Words& words, const char* description) {
  addWord(command, "PATH", words.paths, description)->required(false);
  addInput(command, words);
}

void addFollowCommands(CLI::App* group, Words& words) {
  CLI::App* follow = addCommand(group, "follow", "Give what was renamed or moved the labels that it had, for good",
                                "label follow ideas");
  addPaths(follow, words, "Entries, with what lies below them (all)");
  follow->callback([&] { followLabels(words.fromInput ? pathsOf(words) : words.paths); });
  CLI::App* missing = addCommand(
      group, "missing", "Say that a labelled path at which nothing is is meant to be missing", "label missing drafts");
  addPaths(missing, words, "Paths that are told of as missing");
  missing->callback([&] { callMissing(pathsOf(words)); });
}

// The words behind attach and detach begin with a label, unless --labels gives them: then it is a path.
LabelWords takeLabels(Words& words, const CLI::App& command) {
  const bool isNamed = command.count("LABEL") > 0;
  if (words.labels.empty() && !isNamed) {
    throw CLI::ParseError("LABEL, or --labels LABEL[,LABEL...], is required", WRONG_USAGE);
  }
  if (words.labels.empty()) return {{words.label}, false, words.create, false, words.notHere};
  if (isNamed) words.paths.insert(words.paths.begin(), words.label);
  return {words.labels, true, words.create, false, words.notHere};
}

// A path beside --missing could be meant as a label, or as the only one to be looked at.
LabelWords missingLabels(Words& words, const CLI::App& command) {
  if (words.labels.empty() && command.count("LABEL") == 0) return {};
  LabelWords labels = takeLabels(words, command);
  if (!words.paths.empty()) throw CLI::ParseError("--missing takes labels, and no path", WRONG_USAGE);
  return labels;
}

void addAttachCommands(CLI::App* group, Words& words) {
  CLI::App* attach =
      addCommand(group, "attach", "Attach labels to files, links, and folders with all below them, now and later",
                 "label attach --create audience/internal drafts budget.ods");
  CLI::App* detach =
      addCommand(group, "detach",
                 "Detach labels, or except from them what has them from a folder; let a twin or a leftover be shared",
                 "label detach internal drafts/final.txt");
  for (CLI::App* command : {attach, detach}) {
    addWord(command, "LABEL", words.label, LABEL_HELP)->required(false);
    addWord(command, "PATH", words.paths, "Files, folders or links of the project")->required(false);
    addLabelList(command, "--labels", words.labels, "These labels in the place of LABEL; can be repeated");
    addInput(command, words);
  }
  CLI::Option* folderOnly =
      attach->add_flag("--folder-only", words.folderOnly, "The entries alone, not what lies below them");
  attach->add_flag("--no-exceptions", words.noExceptions, "Remove the label's exceptions below")->excludes(folderOnly);
  attach->add_flag("--create", words.create, "Create labels that are not there, written CATEGORY/NAME");
  attach->callback([&words, attach] {
    LabelWords labels = takeLabels(words, *attach);
    labels.canCreate = true;
    attachLabels(labels, pathsOf(words), {words.folderOnly, words.noExceptions});
  });
  detach->add_flag("--missing", words.missing, "From all paths at which nothing is; of all labels where none is given")
      ->excludes("--stdin");
  detach
      ->add_flag("--not-here", words.notHere,
                 "Of a store on a server: also from paths at which nothing is in this folder, whoever has it there")
      ->excludes("--missing");
  detach->callback([&words, detach] {
    if (words.missing) return detachMissing(missingLabels(words, *detach));
    const LabelWords labels = takeLabels(words, *detach);
    detachLabels(labels, pathsOf(words));
  });
  addFollowCommands(group, words);
}

void addQueryCommands(CLI::App* group, Words& words) {
  CLI::App* of =
      addCommand(group, "of", "Show the labels of paths, and where they come from", "label of drafts/plan.txt");
  addPaths(of, words, "Files, folders or links of the project");
  of->callback([&] { listLabelsOf(pathsOf(words)); });
  CLI::App* files = addCommand(group, "files", "List the entries that carry a label, and where they have it from",
                               "label files internal");
  addWord(files, "LABEL", words.label, LABEL_HELP);
  files->callback([&] { listFilesOf(words.label); });
}

void addRuleCommands(CLI::App* labels, Words& words) {
  CLI::App* group =
      addCommand(labels, "rule", "Rules: patterns, as of gitignore, that give a label to what there is and what comes",
                 "label rule add internal '*.draft.*' drafts/");
  group->require_subcommand(1);
  const auto addPatterns = [&](const char* name, const char* description, const char* example) {
    CLI::App* command = addCommand(group, name, description, example);
    addWord(command, "LABEL", words.label, LABEL_HELP);
    addWord(command, "PATTERN", words.patterns, "A pattern, seen from the project's folder");
    return command;
  };
  addPatterns("add", "Add rules behind those that there are; the last that matches decides",
              "label rule add internal '*.draft.*' '!drafts/final.txt'")
      ->callback([&] { addRules(words.label, words.patterns); });
  addPatterns("remove", "Remove rules", "label rule remove internal '*.draft.*'")->callback([&] {
    removeRules(words.label, words.patterns);
  });
  CLI::App* list = addCommand(group, "list", "List the rules, of one label or all", "label rule list");
  addWord(list, "LABEL", words.label, LABEL_HELP)->required(false);
  list->callback([&] { listRules(words.label); });
  CLI::App* test =
      addCommand(group, "test", "Show what rules say of a path, there or to come", "label rule test drafts/new.txt");
  addWord(test, "PATH", words.name, "With a slash at its end: a folder");
  test->callback([&] { testRules(words.name); });
}

void addLabelCommands(CLI::App& app, Words& words) {
  CLI::App* group = addCommand(&app, "label", "Labels, written CATEGORY/NAME", "label list");
  group->require_subcommand(1);
  CLI::App* create = addCommand(group, "create", "Create labels, and their categories where there are none",
                                "label create audience/internal audience/partners");
  addWord(create, "LABEL", words.labels, "CATEGORY/NAME");
  create->callback([&] { createLabels(words.labels); });
  CLI::App* list = addCommand(group, "list", "List the labels", "label list");
  addOffline(list);
  list->callback([] { listLabels(); });
  const auto add = [&](const char* name, const char* description, const char* example) {
    CLI::App* command = addCommand(group, name, description, example);
    addWord(command, "LABEL", words.label, LABEL_HELP);
    return command;
  };
  CLI::App* rename = add("rename", "Give a label another name in its category", "label rename internal staff-only");
  addWord(rename, "NAME", words.name, "The name alone, without the category");
  rename->callback([&] { renameLabel(words.label, words.name); });
  add("delete", "Delete a label that no profile names", "label delete partners")->callback([&] {
    deleteLabel(words.label);
  });
  add("protect", "Let no filter remove the label", "label protect everyone")->callback([&] {
    protectLabel(words.label, true);
  });
  add("unprotect", "Let filters remove the label", "label unprotect everyone")->callback([&] {
    protectLabel(words.label, false);
  });
  addAttachCommands(group, words);
  addQueryCommands(group, words);
  addRuleCommands(group, words);
}

void addFilterCommands(CLI::App* add, CLI::App* remove, Words& words) {
  std::vector<std::string> kinds, meanings;
  for (const FilterKind& kind : filterKinds()) {
    kinds.push_back(kind.word);
    meanings.push_back(fmt::format("\n  {}: {}", kind.word, kind.meaning));
  }
  for (CLI::App* command : {add, remove}) {
    command->footer(fmt::format("{}\n\nKinds:{}", command->get_footer(), fmt::join(meanings, "")));
    CLI::Option* kind = addWord(command, "KIND", words.kind);
    // What a newer version has stored can be removed, too.
    if (command == add) kind->check(CLI::IsMember(kinds));
    addWord(command, "LABEL", words.labels, LABEL_HELP)->required(command == add);
  }
  // To add needs a label, because a keep filter without one takes everything out; to remove without one removes the
  // filter.
  add->callback([&] { addFilter(words.profile, words.kind, words.labels); });
  remove->callback([&] { removeFilter(words.profile, words.kind, words.labels); });
}

void addCreateProfile(CLI::App* group, Words& words) {
  CLI::App* create =
      addCommand(group, "create", "Create a profile, without filters or with those of hold-back and share-only",
                 "profile create public --hold-back internal");
  addWord(create, "NAME", words.name);
  addLabelList(create, "--hold-back", words.labels, "As hold-back does with these labels; can be repeated");
  addLabelList(create, "--share-only", words.otherLabels, "As share-only does with these labels; can be repeated");
  create->callback([&words] { createProfile(words.name, words.labels, words.otherLabels); });
}

void addProfileCommands(CLI::App& app, Words& words) {
  CLI::App* group = addCommand(&app, "profile", "Profiles: stored rules of what is held back", "profile list");
  group->require_subcommand(1);
  const auto add = [&](const char* name, const char* description, const std::string& example) {
    CLI::App* command = addCommand(group, name, description, "profile " + example);
    addWord(command, "PROFILE", words.profile, PROFILE_HELP);
    return command;
  };
  addCreateProfile(group, words);
  const auto extend = [&](const char* name, const char* description, const std::string& example) {
    CLI::App* command = add(name, description, example);
    addWord(command, "LABEL", words.labels, LABEL_HELP);
    return command;
  };
  extend("hold-back", "Hold back what has a label, and remove the label from copies: drop-files and drop-labels in one",
         "hold-back public internal")
      ->callback([&] { holdBack(words.profile, words.labels); });
  extend("share-only", "Share only what has these labels and no other: keep-files and keep-labels in one",
         "share-only press audience/press")
      ->callback([&] { shareOnly(words.profile, words.labels); });
  addCommand(group, "list", "List the profiles", "profile list")->callback([] { listProfiles(); });
  add("show", "Show a profile's filters, and what they do with an entry without a label", "show public")->callback([&] {
    showProfile(words.profile);
  });
  add("delete", "Delete a profile", "delete public")->callback([&] { deleteProfile(words.profile); });
  CLI::App* rename = add("rename", "Give a profile another name", "rename public website");
  addWord(rename, "NAME", words.name);
  rename->callback([&] { renameProfile(words.profile, words.name); });
  CLI::App* duplicate = add("duplicate", "Make another profile with the same filters", "duplicate public partners");
  addWord(duplicate, "NAME", words.name);
  duplicate->callback([&] { duplicateProfile(words.profile, words.name); });
  addFilterCommands(
      add("add-filter", "Add a filter, or labels to the filter of that kind", "add-filter public drop-labels partners"),
      add("remove-filter", "Remove a filter, or only the labels named from it",
          "remove-filter public drop-labels partners"),
      words);
}

// RISK[,RISK...], or RISK=PATH with a path that may hold anything.
// A path may hold a comma and an equals sign, so a word with a path names one risk alone.
std::vector<Allowed> allowedBy(const std::vector<std::string>& words) {
  std::vector<Allowed> allowed;
  for (const std::string& word : words) {
    const std::size_t path = word.find('=');
    if (path + 1 == word.size()) throw CLI::ParseError("--allow RISK=PATH needs a path", WRONG_USAGE);
    if (path != std::string::npos) {
      allowed.push_back({word.substr(0, path), word.substr(path + 1)});
      std::string& named = *allowed.back().path;
      // A preview shows folders with a slash behind them, and a risk has their paths without.
      while (named.size() > 1 && named.back() == '/') named.pop_back();
    } else {
      for (std::string identifier : CLI::detail::split(word, ','))
        allowed.push_back({CLI::detail::trim(identifier), {}});
    }
  }
  const std::vector<std::string>& all = allowableRisks();
  for (const Allowed& one : allowed) {
    if (std::find(all.begin(), all.end(), one.identifier) != all.end()) continue;
    throw CLI::ParseError(fmt::format("--allow takes {}", fmt::join(all, ", ")), WRONG_USAGE);
  }
  return allowed;
}

GateWords gateWordsOf(const Words& words) {
  for (const std::string& word : words.forbidden) {
    if (word != "unlabelled") throw CLI::ParseError("--forbid takes unlabelled", WRONG_USAGE);
  }
  return {allowedBy(words.allowed), words.strict, !words.forbidden.empty(), words.from, words.approved};
}

// A single word could be either, so they are counted here: with a profile there are two, without one there is DEST
// alone. A dry run can do without DEST, but not where that is given and is empty, such as of a variable that is not
// set.
ShareWords shareWordsOf(const Words& words) {
  const std::size_t profiles = words.whole ? 0 : 1;
  const bool hasDestination = words.shared.size() == profiles + 1;
  if (!hasDestination && !(words.dryRun && words.receipt.empty() && words.shared.size() == profiles)) {
    throw CLI::ParseError("share takes PROFILE and DEST, or --whole and DEST", WRONG_USAGE);
  }
  ShareWords share;
  if (!words.whole) share.profile = words.shared.front();
  if (hasDestination) share.destination = words.shared.back();
  if (hasDestination) requireName("DEST", share.destination);
  if (share.destination == "-" && manner().json) {
    throw CLI::ParseError("a copy on standard output goes without --json", WRONG_USAGE);
  }
  share.isPlain = words.plain;
  share.gate = gateWordsOf(words);
  share.receipt = words.receipt;
  share.checksum = words.checksum;
  share.updates = words.updates;
  share.replaces = words.replaces;
  if (words.replaces && !words.updates) throw CLI::ParseError("--replace goes with --update", WRONG_USAGE);
  const bool isFolder =
      share.destination != "-" && folder_host::shapeOf(share.destination) == folder_host::Shape::folder;
  if (words.updates && !(hasDestination && isFolder)) {
    throw CLI::ParseError("--update goes with a folder, and with nothing else; name it as DEST", WRONG_USAGE);
  }
  share.keptReceipts = words.keptReceipts;
  return share;
}

// From the table of all risks, so that the help has each of them.
std::string riskList() {
  std::string list = "\n\nRisks that --allow takes:";
  for (const RiskKind* kind : risks::ALL) {
    if (kind->level == Level::risk) list += fmt::format("\n  {:23}{}", kind->identifier, kind->meaning);
  }
  return list;
}

void addHistoryCommands(CLI::App& app, Words& words) {
  CLI::App* log = addCommand(&app, "log", "List the edits and the shares: when, who, the words typed", "log");
  addNumber(log, "NUMBER", words.number, "One edit, and all that it changed");
  log->add_flag("--all", words.all, "All of them, not the last 20");
  log->callback([&] { showLog(words.number, words.all); });
  CLI::App* undo = addCommand(&app, "undo", "Take back your last edit, or the edit of that number", "undo");
  addNumber(undo, "NUMBER", words.number, "As 'log' shows it; another user's, too");
  undo->callback([&] { undoEdit(words.number); });
}

void addFrom(CLI::App* command, Words& words) {
  command
      ->add_option_function<std::string>(
          "--from", [&words](const std::string& marked) { words.from = unmarked(marked); },
          "Hand out what lies in this folder of the project alone, as the whole copy")
      ->type_name("FOLDER");
}

void addAllow(CLI::App* command, Words& words) {
  command
      ->add_option("--allow", words.allowed,
                   "Share in spite of all such risks, or of the one that is about PATH; can be repeated")
      // One word each: else the option would take PROFILE and DEST, too, where they stand behind it.
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("RISK[,RISK...]|RISK=PATH");
  command->footer(command->get_footer() + riskList());
}

// In groups or not, and in capitals or not: it may have been read out.
std::string digitsOf(const std::string& word) {
  constexpr std::size_t LEAST = 32, MOST = 64;  // 128 bits, 256 bits
  std::string digits;
  for (const char c : word) {
    if (c != '-') digits += c;
  }
  digits = lowered(std::move(digits));
  const bool isDigest = digits.size() >= LEAST && digits.size() <= MOST &&
                        digits.find_first_not_of("0123456789abcdef") == std::string::npos;
  if (isDigest) return digits;
  throw CLI::ParseError("--approved takes the digest at the end of a page, or its first 32 digits at least",
                        WRONG_USAGE);
}

void addGateOptions(CLI::App* command, Words& words) {
  addAllow(command, words);
  command
      ->add_option_function<std::string>(
          "--approved", [&words](const std::string& marked) { words.approved = digitsOf(unmarked(marked)); },
          "Refuse what is not what a page of 'preview --html' told, by its digest")
      ->type_name("DIGEST");
  addFrom(command, words);
  command->add_flag("--strict", words.strict, "Refuse for notes, too, such as that a filter selects nothing");
  command->add_option("--forbid", words.forbidden, "Refuse where a file or link without a label would be shared")
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("unlabelled");
}

void addPreviewCommand(CLI::App& app, Words& words) {
  CLI::App* preview =
      addCommand(&app, "preview", "Show as a tree what a share would hand out, and what it would hold back and why",
                 "preview public drafts --only held-back");
  addWord(preview, "PROFILE", words.profile, PROFILE_HELP);
  addWord(preview, "PATH", words.paths, "What of it is shown: entries, with all that lies below them")->required(false);
  preview->add_option("--only", words.only, "Show these alone")
      ->transform(unmarked)
      ->type_name("held-back|shared|unlabelled");
  addNumber(preview, "--depth", words.depth,
            "Show so many levels, and of folders at the last one what lies in them, counted")
      ->type_name("N");
  addAllow(preview, words);
  addFrom(preview, words);
  addNamed(preview, "--html", words.page, "FILE",
           "A page to be made, for a browser: all of it, whatever part is shown here");
  addOffline(preview)->excludes("--html");  // which goes to whoever decides
  addNamed(preview, "--since", words.since, "RECEIPT|last",
           "What has changed since the share of this receipt, or since the last one");
  preview->callback([&words, preview] {
    const auto& all = viewWords();
    const bool isKnown = std::find(all.begin(), all.end(), words.only) != all.end();
    if (preview->count("--only") > 0 && !isKnown) {
      throw CLI::ParseError(fmt::format("--only takes {}", fmt::join(all, ", ")), WRONG_USAGE);
    }
    const ViewWords view{words.paths, words.only, static_cast<std::size_t>(words.depth)};
    previewProfile({words.profile, view, gateWordsOf(words), words.page, words.since});
  });
}

void addWhyCommand(CLI::App& app, Words& words) {
  CLI::App* why =
      addCommand(&app, "why", "Tell why one path is shared or held back", "why drafts/plan.txt --profile public");
  addWord(why, "PATH", words.name, "A file, folder or link of the project");
  addWord(why, "--profile", words.profile, PROFILE_HELP)->required(false)->type_name("PROFILE");
  addNamed(why, "--receipt", words.receipt, "RECEIPT|last", "Why it was, by this receipt or that of the last share");
  why->callback([&] {
    if (!words.receipt.empty()) return explainPathThen(words.name, words.profile, words.receipt);
    if (words.profile.empty()) throw CLI::ParseError("--profile or --receipt is required", WRONG_USAGE);
    explainPath(words.name, words.profile);
  });
}

void addCheckCommand(CLI::App& app, Words& words) {
  CLI::App* check =
      addCommand(&app, "check", "Tell whether a share would be refused, and make nothing: for hooks and CI",
                 "check public --strict --forbid unlabelled");
  addWord(check, "PROFILE", words.profile, PROFILE_HELP);
  addGateOptions(check, words);
  check->callback([&] { checkProfile(words.profile, gateWordsOf(words)); });
}

void addShareCommand(CLI::App& app, Words& words) {
  CLI::App* share = addCommand(&app, "share", "Hand out a copy: share PROFILE DEST, or share --whole DEST",
                               "share public ../for-the-customer --receipt ../for-the-customer.json");
  addWord(
      share, "PROFILE DEST", words.shared,
      "The profile (not with --whole), and what is to be made: a folder, a file by a name that ends in .tar, .tar.gz, "
      ".tar.zst or .zip, or - for a tar on standard output")
      ->required(false);  // they are counted
  share->add_flag("--whole", words.whole, "Everything, without a profile");
  share->add_flag("--plain", words.plain, "Without .project: the copy has no labels and is no project");
  share->add_flag("--dry-run", words.dryRun,
                  "Make nothing, and tell whether it would be refused; DEST may be left out");
  addGateOptions(share, words);
  addNamed(share, "--receipt", words.receipt, "FILE",
           "A JSON file to be made, for you: what was shared, what was held back, and why");
  share->add_flag("--update", words.updates,
                  "Put the new copy in the place of the last one at DEST, which has to be what was handed out");
  share->add_flag("--replace", words.replaces, "With --update: also where it is not, and keep it under another name");
  share->add_flag(
      "--checksum", words.checksum,
      "Note the content of each file, so that verify can compare it; --receipt does so, too. With --update: "
      "go by content, not by sizes and times");
  addNumber(share, "--keep-receipts", words.keptReceipts,
            "Of this profile and destination the project keeps the last N receipts, and not 10", 0)
      ->type_name("N");
  share->callback([&] {
    const ShareWords said = shareWordsOf(words);
    words.dryRun ? checkShare(said) : project_share::share(said);
  });
}

void addVerifyCommand(CLI::App& app, Words& words) {
  CLI::App* verify = addCommand(&app, "verify", "Check a copy against the receipt of its share",
                                "verify ../for-the-customer --receipt ../for-the-customer.json");
  addWord(verify, "COPY", words.folder, "The folder that was handed out");
  addNamed(verify, "--receipt", words.receipt, "FILE",
           "The file that share made; without it, the one that the project keeps");
  verify->callback([&] { verifyCopy(words.folder, words.receipt); });
}

void addExchangeCommands(CLI::App& app, Words& words) {
  CLI::App* whole = addCommand(&app, "export", "Write labels, rules, marks and profiles as one text, to be kept",
                               "export ../labels.json");
  addWord(whole, "FILE", words.file, "A file to be made, or an export to be replaced (standard output)")
      ->required(false);
  whole->callback([&] { exportProject(words.file); });
  CLI::App* import =
      addCommand(&app, "import", "Take over what an export has; what the project has besides stays, and is listed",
                 "import --dry-run ../labels.json");
  addWord(import, "FILE", words.file, "What export wrote; - is standard input");
  import->add_flag("--replace", words.import.replaces, "Remove what the file does not have");
  import->add_flag("--no-marks", words.import.withoutMarks, "Labels, rules and profiles alone: from another project");
  import->add_flag("--dry-run", words.isDry, "Show what would change, and change nothing");
  import->callback([&] { importProject(words.file, words.import, words.isDry);
});
}  // namespace

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

}  // namespace project_share

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
  addPreviewCommand(app, words);
  addWhyCommand(app, words);
  addHistoryCommands(app, words);
  addCheckCommand(app, words);
  addShareCommand(app, words);
  addVerifyCommand(app, words);
  addExchangeCommands(app, words);
  if (argc > 1 && std::string_view(argv[1]) == "complete") {  // what is still being typed could not be parsed
    const bool isHelp = argc > 3 && std::string_view(argv[2]) == "help";
    complete(app, {argv + (isHelp ? 3 : 2), argv + argc});
    return 0;
  }
  manner().json = wantsJson(argc, argv);
  return parse(app, markedWords(helpAsOption(argc, argv)));
}

}  // namespace project_share
