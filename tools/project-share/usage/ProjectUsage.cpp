#include <CLI/CLI.hpp>

#include <string>
#include <string_view>

#include "commands/Commands.h"
#include "usage/Usage.h"
#include "usage/Words.h"

namespace project_share {

namespace {

constexpr const char* ADDRESS_HELP = "postgresql://HOST[:PORT]/DATABASE?project=NAME";

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

// Of what is none nobody could say that it is not kept.
std::string editIdOf(const std::string& word) {
  constexpr std::string_view FORM = "00000000-0000-0000-0000-000000000000";
  std::string id = lowered(word), form = id;
  for (char& c : form) c = std::string_view("0123456789abcdef").find(c) != std::string_view::npos ? '0' : c;
  if (form == FORM) return id;
  throw CLI::ParseError("store check takes the id of an edit as its refusal had it, a UUID", WRONG_USAGE);
}

}  // namespace

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

}  // namespace project_share
