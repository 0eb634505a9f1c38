#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Completion.h"
#include "Refusal.h"
#include "commands/Commands.h"
#include "judgement/Judgement.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

constexpr int WRONG_USAGE = 2;

// The words of a command line, filled while it is parsed.
struct Words {
  std::string folder = ".";
  std::string label;
  std::string profile;
  std::string name;
  std::string kind;
  std::vector<std::string> labels;
  std::vector<std::string> paths;
  std::vector<std::string> patterns;
  std::vector<std::string> shared;  // the profile, if any, and the destination
  std::vector<std::string> allowed;
  std::vector<std::string> forbidden;
  std::string receipt;
  std::string only;
  int depth = 0;
  bool folderOnly = false;
  bool noExceptions = false;
  bool all = false;
  bool fromInput = false;
  bool zeroEnded = false;
  bool whole = false;
  bool strict = false;
  bool dryRun = false;
  bool forget = false;
};

// CLI11 takes a word in brackets apart and passes over a "++", and would so label other files than the ones named. A
// mark before such a word keeps it whole while it is parsed.
constexpr char MARK = '\x01';

std::string marked(const std::string& word) {
  return !word.empty() && (word.front() == '[' || word.front() == '+' || word.front() == MARK) ? MARK + word : word;
}

// A word that has the mark's character in front by itself is marked as well, so that it comes back as it was.
std::string unmarked(const std::string& word) { return !word.empty() && word.front() == MARK ? word.substr(1) : word; }

// As CLI11 wants them: the last one first, without the program's name.
std::vector<std::string> markedWords(int argc, char** argv) {
  std::vector<std::string> words;
  for (int i = argc; i > 1; --i) words.push_back(marked(argv[i - 1]));
  return words;
}

// One word, or any number of them into a vector.
template <class Word>
CLI::Option* addWord(CLI::App* command, const std::string& name, Word& word, const std::string& description = {}) {
  return command->add_option(name, word, description)->required()->transform(unmarked);
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

void addProjectCommands(CLI::App& app, Words& words) {
  CLI::App* init = addCommand(&app, "init", "Make a folder a project", "init my-folder");
  addWord(init, "FOLDER", words.folder, "The folder (the working directory)")->required(false);
  init->callback([&] { initProject(words.folder); });
  CLI::App* trust =
      addCommand(&app, "trust", "Open a project from now on although it belongs to another user", "trust /srv/team");
  addWord(trust, "FOLDER", words.folder, "In the project (the working directory)")->required(false);
  trust->add_flag("--forget", words.forget, "Trust the project no more");
  trust->callback([&] { words.forget ? forgetProject(words.folder) : trustProject(words.folder); });
  CLI::App* status =
      addCommand(&app, "status", "Show what is labelled, what is not, and what a share would be refused for", "status");
  status->add_flag("--all", words.all, "Each entry without a label, not folder by folder");
  status->callback([&] { showStatus(words.all); });
}

void addPaths(CLI::App* command, Words& words, const char* description) {
  addWord(command, "PATH", words.paths, description)->required(false);
  CLI::Option* input = command->add_flag("--stdin", words.fromInput, "Read the paths from standard input, one a line");
  command->add_flag("-0", words.zeroEnded, "With --stdin: each path ends with a zero byte")->needs(input);
}

void addAttachCommands(CLI::App* group, Words& words) {
  CLI::App* attach =
      addCommand(group, "attach", "Attach a label to files, links, and folders with all below them, now and later",
                 "label attach audience/internal drafts budget.ods");
  CLI::App* detach =
      addCommand(group, "detach",
                 "Detach a label, or except from it what has it from a folder; let a twin or a leftover be shared",
                 "label detach audience/internal drafts/final.txt");
  for (CLI::App* command : {attach, detach}) {
    addWord(command, "LABEL", words.label, "CATEGORY/NAME or UUID");
    addPaths(command, words, "Files, folders or links of the project");
  }
  CLI::Option* folderOnly =
      attach->add_flag("--folder-only", words.folderOnly, "The entries alone, not what lies below them");
  attach->add_flag("--no-exceptions", words.noExceptions, "Remove the label's exceptions below")->excludes(folderOnly);
  attach->callback([&] { attachLabel(words.label, pathsOf(words), {words.folderOnly, words.noExceptions}); });
  detach->callback([&] { detachLabel(words.label, pathsOf(words)); });

  CLI::App* follow = addCommand(group, "follow", "Give what was renamed or moved the labels that it had, for good",
                                "label follow ideas");
  addPaths(follow, words, "Entries, with what lies below them (all)");
  follow->callback([&] { followLabels(words.fromInput ? pathsOf(words) : words.paths); });
  CLI::App* missing = addCommand(
      group, "missing", "Say that a labelled path at which nothing is is meant to be missing", "label missing drafts");
  addPaths(missing, words, "Paths that are told of as missing");
  missing->callback([&] { callMissing(pathsOf(words)); });
}

void addQueryCommands(CLI::App* group, Words& words) {
  CLI::App* of =
      addCommand(group, "of", "Show the labels of paths, and where they come from", "label of drafts/plan.txt");
  addPaths(of, words, "Files, folders or links of the project");
  of->callback([&] { listLabelsOf(pathsOf(words)); });
  CLI::App* files = addCommand(group, "files", "List the entries that carry a label, and where they have it from",
                               "label files audience/internal");
  addWord(files, "LABEL", words.label, "CATEGORY/NAME or UUID");
  files->callback([&] { listFilesOf(words.label); });
}

void addRuleCommands(CLI::App* labels, Words& words) {
  CLI::App* group =
      addCommand(labels, "rule", "Rules: patterns, as of gitignore, that give a label to what there is and what comes",
                 "label rule add audience/internal '*.draft.*' drafts/");
  group->require_subcommand(1);
  const auto addPatterns = [&](const char* name, const char* description, const char* example) {
    CLI::App* command = addCommand(group, name, description, example);
    addWord(command, "LABEL", words.label, "CATEGORY/NAME or UUID");
    addWord(command, "PATTERN", words.patterns, "A pattern, seen from the project's folder");
    return command;
  };
  addPatterns("add", "Add rules behind those that there are; the last that matches decides",
              "label rule add audience/internal '*.draft.*' '!drafts/final.txt'")
      ->callback([&] { addRules(words.label, words.patterns); });
  addPatterns("remove", "Remove rules", "label rule remove audience/internal '*.draft.*'")->callback([&] {
    removeRules(words.label, words.patterns);
  });
  CLI::App* list = addCommand(group, "list", "List the rules, of one label or all", "label rule list");
  addWord(list, "LABEL", words.label, "CATEGORY/NAME or UUID")->required(false);
  list->callback([&] { listRules(words.label); });
  CLI::App* test =
      addCommand(group, "test", "Show what rules say of a path, there or to come", "label rule test drafts/new.txt");
  addWord(test, "PATH", words.name, "With a slash at its end: a folder");
  test->callback([&] { testRules(words.name); });
}

void addLabelCommands(CLI::App& app, Words& words) {
  CLI::App* group = addCommand(&app, "label", "Labels, written CATEGORY/NAME or by UUID", "label list");
  group->require_subcommand(1);
  CLI::App* create = addCommand(group, "create", "Create labels, and their categories where there are none",
                                "label create audience/internal audience/partners");
  addWord(create, "LABEL", words.labels, "CATEGORY/NAME");
  create->callback([&] { createLabels(words.labels); });
  addCommand(group, "list", "List the labels", "label list")->callback([] { listLabels(); });
  const auto add = [&](const char* name, const char* description, const char* example) {
    CLI::App* command = addCommand(group, name, description, example);
    addWord(command, "LABEL", words.label, "CATEGORY/NAME or UUID");
    return command;
  };
  CLI::App* rename =
      add("rename", "Give a label another name in its category", "label rename audience/internal staff-only");
  addWord(rename, "NAME", words.name, "The name alone, without the category");
  rename->callback([&] { renameLabel(words.label, words.name); });
  add("delete", "Delete a label that no profile names", "label delete audience/partners")->callback([&] {
    deleteLabel(words.label);
  });
  add("protect", "Let no filter remove the label", "label protect audience/everyone")->callback([&] {
    protectLabel(words.label, true);
  });
  add("unprotect", "Let filters remove the label", "label unprotect audience/everyone")->callback([&] {
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
    addWord(command, "KIND", words.kind)->check(CLI::IsMember(kinds));
    addWord(command, "LABEL", words.labels, "CATEGORY/NAME or UUID")->required(command == add);
  }
  // To add needs a label, because a keep filter without one takes everything out; to remove without one removes the
  // filter.
  add->callback([&] { addFilter(words.profile, words.kind, words.labels); });
  remove->callback([&] { removeFilter(words.profile, words.kind, words.labels); });
}

void addProfileCommands(CLI::App& app, Words& words) {
  CLI::App* group = addCommand(&app, "profile", "Profiles: stored rules of what is held back", "profile list");
  group->require_subcommand(1);
  const auto add = [&](const char* name, const char* description, const std::string& example) {
    CLI::App* command = addCommand(group, name, description, "profile " + example);
    addWord(command, "PROFILE", words.profile, "Name or UUID");
    return command;
  };
  CLI::App* create = addCommand(group, "create", "Create a profile without filters", "profile create public");
  addWord(create, "NAME", words.name);
  create->callback([&] { createProfile(words.name); });
  addCommand(group, "list", "List the profiles", "profile list")->callback([] { listProfiles(); });
  add("show", "Show a profile's filters", "show public")->callback([&] { showProfile(words.profile); });
  add("explain", "Tell in words what a profile holds back", "explain public")->callback([&] {
    explainProfile(words.profile);
  });
  add("delete", "Delete a profile", "delete public")->callback([&] { deleteProfile(words.profile); });
  CLI::App* rename = add("rename", "Give a profile another name", "rename public website");
  addWord(rename, "NAME", words.name);
  rename->callback([&] { renameProfile(words.profile, words.name); });
  CLI::App* duplicate = add("duplicate", "Make another profile with the same filters", "duplicate public partners");
  addWord(duplicate, "NAME", words.name);
  duplicate->callback([&] { duplicateProfile(words.profile, words.name); });
  addFilterCommands(add("add-filter", "Add a filter, or labels to the filter of that kind",
                        "add-filter public drop-files audience/internal"),
                    add("remove-filter", "Remove a filter, or only the labels named from it",
                        "remove-filter public drop-files audience/internal"),
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
  return {allowedBy(words.allowed), words.strict, !words.forbidden.empty()};
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
  if (words.dryRun && hasDestination && share.destination.empty()) {
    throw CLI::ParseError("DEST needs a name", WRONG_USAGE);
  }
  share.gate = gateWordsOf(words);
  share.receipt = words.receipt;
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

void addPreviewCommands(CLI::App& app, Words& words) {
  CLI::App* preview =
      addCommand(&app, "preview", "Show as a tree what a share would hand out, and what it would hold back and why",
                 "preview public drafts --only held-back");
  addWord(preview, "PROFILE", words.profile, "Name or UUID");
  addWord(preview, "PATH", words.paths, "What of it is shown: entries, with all that lies below them")->required(false);
  preview->add_option("--only", words.only, "Show these alone")
      ->transform(unmarked)
      ->type_name("held-back|shared|unlabelled");
  preview
      ->add_option("--depth", words.depth,
                   "Show so many levels, and of folders at the last one what lies in them, counted")
      ->type_name("N");
  preview->callback([&words, preview] {
    const auto& all = viewWords();
    const bool isKnown = std::find(all.begin(), all.end(), words.only) != all.end();
    if (preview->count("--only") > 0 && !isKnown) {
      throw CLI::ParseError(fmt::format("--only takes {}", fmt::join(all, ", ")), WRONG_USAGE);
    }
    if (preview->count("--depth") > 0 && words.depth < 1) throw CLI::ParseError("--depth begins at 1", WRONG_USAGE);
    previewProfile(words.profile, {words.paths, words.only, static_cast<std::size_t>(words.depth)});
  });

  CLI::App* why =
      addCommand(&app, "why", "Tell why one path is shared or held back", "why drafts/plan.txt --profile public");
  addWord(why, "PATH", words.name, "A file, folder or link of the project");
  addWord(why, "--profile", words.profile, "Name or UUID")->type_name("PROFILE");
  why->callback([&] { explainPath(words.name, words.profile); });
}

void addGateOptions(CLI::App* command, Words& words) {
  command
      ->add_option("--allow", words.allowed,
                   "Share in spite of all such risks, or of the one that is about PATH; can be repeated")
      // One word each: else the option would take PROFILE and DEST, too, where they stand behind it.
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("RISK[,RISK...]|RISK=PATH");
  command->add_flag("--strict", words.strict, "Refuse for notes, too, such as that a filter selects nothing");
  command->add_option("--forbid", words.forbidden, "Refuse where a file or link without a label would be shared")
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("unlabelled");
  command->footer(command->get_footer() + riskList());
}

void addShareCommands(CLI::App& app, Words& words) {
  CLI::App* check =
      addCommand(&app, "check", "Tell whether a share would be refused, and make nothing: for hooks and CI",
                 "check public --strict --forbid unlabelled");
  addWord(check, "PROFILE", words.profile, "Name or UUID");
  addGateOptions(check, words);
  check->callback([&] { checkProfile(words.profile, gateWordsOf(words)); });

  CLI::App* share = addCommand(&app, "share", "Hand out a copy: share PROFILE DEST, or share --whole DEST",
                               "share public ../for-the-customer --receipt ../for-the-customer.json");
  addWord(share, "PROFILE DEST", words.shared, "The profile (not with --whole), and a folder to be made")
      ->required(false);  // they are counted
  share->add_flag("--whole", words.whole, "Everything, without a profile");
  share->add_flag("--dry-run", words.dryRun,
                  "Make nothing, and tell whether it would be refused; DEST may be left out");
  addGateOptions(share, words);
  CLI::Option* receipt = addWord(share, "--receipt", words.receipt,
                                 "A JSON file to be made, for you: what was shared, what was held back, and why")
                             ->required(false)
                             ->type_name("FILE");
  share->callback([&words, receipt] {
    // An empty name, such as of a variable that is not set, would mean that no receipt was asked for.
    if (receipt->count() > 0 && words.receipt.empty()) throw CLI::ParseError("--receipt needs a name", WRONG_USAGE);
    const ShareWords said = shareWordsOf(words);
    words.dryRun ? checkShare(said) : project_share::share(said);
  });

  CLI::App* verify = addCommand(&app, "verify", "Check a copy against the receipt of its share",
                                "verify ../for-the-customer --receipt ../for-the-customer.json");
  addWord(verify, "COPY", words.folder, "The folder that was handed out");
  addWord(verify, "--receipt", words.receipt, "The file that share made")->type_name("FILE");
  verify->callback([&] { verifyCopy(words.folder, words.receipt); });
}

void goTo(const std::string& folder) {
  std::error_code error;
  std::filesystem::current_path(folder, error);
  // Absolute, because a command that is told will be typed where the user is and not where this run went.
  if (!error) invocation().folder = std::filesystem::current_path(error).string();
  if (!error) return;
  throw Refusal(folder_host::errors::NOT_A_PROJECT, "cannot work in " + inQuotes(folder) + ": " + error.message());
}

void addOptions(CLI::App& app) {
  app.add_option_function<std::string>("-C", goTo, "Work in this folder instead of the working directory")
      ->transform(unmarked)
      ->type_name("DIR");
  app.add_flag("--json", manner().json, "Write one JSON object a line, also for a refusal");
  app.add_flag("--quiet", manner().quiet, "Write nothing but what was asked for");
  app.add_flag("--trust", invocation().trusting, "Open the project although it belongs to another user");
  app.set_version_flag("--version", "project-share " PROJECT_SHARE_VERSION, "Print the version and exit");
}

// Known before the words are understood: what is wrong with them is told in the way that they ask for.
bool wantsJson(int argc, char** argv) {
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    if (std::string_view(argv[i]) == "--json") return true;
  }
  return false;
}

// As far as the words got.
std::string namedCommand(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) name += " " + namedCommand(*command);
  return name;
}

// Wrong usage has a code of its own, so that a script can tell a wrong command from one that was refused.
int parse(CLI::App& app, std::vector<std::string> words) {
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      // A word that was not understood is told of first: what is missing is mostly missing because of it.
      const std::vector<std::string> unknown = app.remaining(true);
      const std::string problem =
          unknown.empty() ? error.what() : "what is " + inQuotes(unmarked(unknown.front())) + "?";
      return complain(WRONG_USAGE, "usage", problem + "; see '" + namedCommand(app) + " --help'");
    }
    app.exit(error);  // help was asked for
  }
  // Also behind help and the version: a report that was cut off must not end as done.
  finishOutput();
  return 0;
}

}  // namespace

int runCommandLine(int argc, char** argv) {
  // What an earlier call in this process was told must not hold for this one.
  manner() = usualManner();
  invocation() = {};
  Words words;
  CLI::App app("Hands out copies of a folder without what is labelled internal", "project-share");
  app.require_subcommand(1);
  app.footer("'project-share COMMAND --help' tells more and gives an example.");
  addOptions(app);
  addProjectCommands(app, words);
  addLabelCommands(app, words);
  addProfileCommands(app, words);
  addPreviewCommands(app, words);
  addShareCommands(app, words);
  if (argc > 1 && std::string_view(argv[1]) == "complete") {  // what is still being typed could not be parsed
    complete(app, {argv + 2, argv + argc});
    return 0;
  }
  manner().json = wantsJson(argc, argv);
  return parse(app, markedWords(argc, argv));
}

}  // namespace project_share
