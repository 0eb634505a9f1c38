#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "commands/Commands.h"
#include "usage/Usage.h"
#include "usage/Words.h"

namespace project_share {

namespace {

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

}  // namespace

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

}  // namespace project_share
