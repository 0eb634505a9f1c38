#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "Commands.h"
#include "Lookup.h"
#include "Output.h"
#include "Refusal.h"
#include "foundation/core/except/IMsgIDException.h"

namespace {

constexpr int refused = 1;
constexpr int wrongUsage = 2;

// The words of a command line, filled while it is parsed.
struct Words {
  std::string folder = ".";
  std::string label;
  std::string profile;
  std::string name;
  std::string kind;
  std::vector<std::string> labels;
  std::vector<std::string> paths;
  std::vector<std::string> shared;  // the profile, if any, and the destination
  bool folderOnly = false;
  bool fromInput = false;
  bool zeroEnded = false;
  bool whole = false;
};

// CLI11 takes a word in brackets apart and passes over a "++", and would so label other files than the ones named. A
// mark before such a word keeps it whole while it is parsed.
constexpr char MARK = '\x01';

std::string marked(const std::string& word) {
  return !word.empty() && (word.front() == '[' || word.front() == '+' || word.front() == MARK) ? MARK + word : word;
}

std::string unmarked(const std::string& word) { return !word.empty() && word.front() == MARK ? word.substr(1) : word; }

// One word, or any number of them into a vector.
template <class Word>
CLI::Option* addWord(CLI::App* command, const std::string& name, Word& word, const std::string& description = {}) {
  return command->add_option(name, word, description)->required()->transform(unmarked);
}

// As CLI11 wants them: the last one first, without the program's name.
std::vector<std::string> markedWords(int argc, char** argv) {
  std::vector<std::string> words;
  for (int i = argc; i > 1; --i) words.push_back(marked(argv[i - 1]));
  return words;
}

// The paths of the command line or, when these are wanted, of standard input.
const std::vector<std::string>& pathsOf(Words& words) {
  if (words.fromInput != words.paths.empty()) {
    throw CLI::ParseError("give the paths either as words or by --stdin", wrongUsage);
  }
  if (words.fromInput) words.paths = project_share::readPaths(words.zeroEnded ? '\0' : '\n');
  if (words.paths.empty()) throw CLI::ParseError("there is no path on standard input", wrongUsage);
  return words.paths;
}

void addLabelCommands(CLI::App& app, Words& words) {
  CLI::App* label = app.add_subcommand("label", "Labels, written CATEGORY/NAME or by UUID")->require_subcommand(1);
  CLI::App* create = label->add_subcommand("create", "Create a label, and its category where there is none");
  addWord(create, "LABEL", words.label, "CATEGORY/NAME");
  create->callback([&] { project_share::createLabel(words.label); });
  label->add_subcommand("list", "List the labels")->callback([] { project_share::listLabels(); });
  const auto add = [&](const char* name, const char* description) {
    CLI::App* command = label->add_subcommand(name, description);
    addWord(command, "LABEL", words.label, "CATEGORY/NAME or UUID");
    return command;
  };
  CLI::App* rename = add("rename", "Give a label another name in its category");
  addWord(rename, "NAME", words.name, "The name alone, without the category");
  rename->callback([&] { project_share::renameLabel(words.label, words.name); });
  add("delete", "Delete a label that no profile names")->callback([&] { project_share::deleteLabel(words.label); });
  add("keep", "Let no filter remove the label")->callback([&] { project_share::keepLabel(words.label, true); });
  add("release", "Let filters remove the label")->callback([&] { project_share::keepLabel(words.label, false); });

  CLI::App* attach = add("attach", "Attach a label to files, links, and folders with all below them");
  CLI::App* detach = add("detach", "Take a label off files, links, and folders with all below them");
  for (CLI::App* command : {attach, detach}) {
    addWord(command, "PATH", words.paths, "Files, folders or links of the project")->required(false);
    CLI::Option* input =
        command->add_flag("--stdin", words.fromInput, "Read the paths from standard input, one a line");
    command->add_flag("-0", words.zeroEnded, "With --stdin: each path ends with a zero byte")->needs(input);
    command->add_flag("--folder-only", words.folderOnly, "The folders alone, not what lies below them");
  }
  attach->callback([&] { project_share::attachLabel(words.label, pathsOf(words), words.folderOnly); });
  detach->callback([&] { project_share::detachLabel(words.label, pathsOf(words), words.folderOnly); });
}

void addProfileCommands(CLI::App& app, Words& words) {
  CLI::App* profile =
      app.add_subcommand("profile", "Profiles: stored rules of what is left out")->require_subcommand(1);
  const auto add = [&](const char* name, const char* description) {
    CLI::App* command = profile->add_subcommand(name, description);
    addWord(command, "PROFILE", words.profile, "Name or UUID");
    return command;
  };
  CLI::App* create = profile->add_subcommand("create", "Create a profile without filters");
  addWord(create, "NAME", words.name);
  create->callback([&] { project_share::createProfile(words.name); });
  profile->add_subcommand("list", "List the profiles")->callback([] { project_share::listProfiles(); });
  add("show", "Show a profile's filters")->callback([&] { project_share::showProfile(words.profile); });
  add("delete", "Delete a profile")->callback([&] { project_share::deleteProfile(words.profile); });
  CLI::App* rename = add("rename", "Give a profile another name");
  addWord(rename, "NAME", words.name);
  rename->callback([&] { project_share::renameProfile(words.profile, words.name); });
  CLI::App* duplicate = add("duplicate", "Make another profile with the same filters");
  addWord(duplicate, "NAME", words.name);
  duplicate->callback([&] { project_share::duplicateProfile(words.profile, words.name); });
  add("explain", "Tell in words what a profile takes out")->callback([&] {
    project_share::explainProfile(words.profile);
  });
  CLI::App* filter = add("add-filter", "Add a filter, or labels to the filter of that kind");
  CLI::App* removal = add("remove-filter", "Remove a filter, or only the labels named from it");
  for (CLI::App* command : {filter, removal}) {
    command->add_option("KIND", words.kind)->required()->check(CLI::IsMember(project_share::kindWords()));
    addWord(command, "LABEL", words.labels, "CATEGORY/NAME or UUID")->required(command == filter);
  }
  filter->callback([&] { project_share::addFilter(words.profile, words.kind, words.labels); });
  removal->callback([&] { project_share::removeFilter(words.profile, words.kind, words.labels); });
}

void addShareCommands(CLI::App& app, Words& words) {
  CLI::App* preview = app.add_subcommand("preview", "Show what a share would hand out and what not");
  addWord(preview, "PROFILE", words.profile, "Name or UUID");
  preview->callback([&] { project_share::previewProfile(words.profile); });

  CLI::App* why = app.add_subcommand("why", "Tell why one path stays or goes");
  addWord(why, "PATH", words.name, "A file, folder or link of the project");
  addWord(why, "--profile", words.profile, "Name or UUID");
  why->callback([&] { project_share::explainPath(words.name, words.profile); });

  CLI::App* share = app.add_subcommand("share", "Hand out a copy: share PROFILE DEST, or share --whole DEST");
  addWord(share, "PROFILE DEST", words.shared, "The profile (not with --whole), and a folder to be made");
  share->add_flag("--whole", words.whole, "Everything, without a profile");
  share->callback([&] {
    if (words.shared.size() != (words.whole ? 1 : 2)) {
      throw CLI::ParseError("share takes PROFILE and DEST, or --whole and DEST", wrongUsage);
    }
    if (words.whole) {
      project_share::shareWhole(words.shared[0]);
    } else {
      project_share::shareProfile(words.shared[0], words.shared[1]);
    }
  });
}

int complain(int code, const std::string& identifier, const std::string& message) {
  std::fprintf(stderr, "project-share: %s: %s\n", identifier.c_str(), message.c_str());
  return code;
}

void goTo(const std::string& folder) {
  std::error_code error;
  std::filesystem::current_path(folder, error);
  if (!error) return;
  throw project_share::Refusal(folder_host::errors::NOT_A_PROJECT,
                               "cannot work in \"" + project_share::shown(folder) + "\": " + error.message());
}

int run(int argc, char** argv) {
  Words words;
  CLI::App app("Hands out copies of a folder without what is labelled to stay", "project-share");
  app.require_subcommand(1);
  app.add_option_function<std::string>("-C", goTo, "Work in this folder instead of the working directory")
      ->transform(unmarked);
  CLI::App* init = app.add_subcommand("init", "Make a folder a project");
  addWord(init, "FOLDER", words.folder, "The folder (the working directory)")->required(false);
  init->callback([&] { project_share::initProject(words.folder); });
  app.add_subcommand("status", "Show what is labelled and what is amiss")->callback([] {
    project_share::showStatus();
  });
  addLabelCommands(app, words);
  addProfileCommands(app, words);
  addShareCommands(app, words);
  try {
    app.parse(markedWords(argc, argv));
    project_share::finishOutput();
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help was asked for
      app.exit(error);
      project_share::finishOutput();
      return 0;
    }
    const std::vector<std::string> unknown = app.remaining(true);
    const std::string problem = unknown.empty() ? error.what() : "what is \"" + unmarked(unknown.front()) + "\"?";
    return complain(wrongUsage, "usage", project_share::shown(problem) + "; see 'project-share --help'");
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const project_share::Refusal& error) {
    return complain(refused, error.identifier(), error.what());
  } catch (const foundation::core::except::IMsgIDException& error) {
    return complain(refused, error.GetID(), project_share::shown(error.GetUnicodeMessageTxt()));
  } catch (const std::exception& error) {
    return complain(refused, "internal-error", project_share::shown(error.what()));
  }
}
