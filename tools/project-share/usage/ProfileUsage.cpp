#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "commands/Commands.h"
#include "usage/Usage.h"
#include "usage/Words.h"
#include "words/FilterKinds.h"

namespace project_share {

namespace {

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

}  // namespace

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

}  // namespace project_share
