#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/FolderProject.h"
#include "output/EditReport.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "settings/TrustedStores.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Address;
using folder_host::Edit;
using folder_host::FolderProject;
using folder_host::Position;

namespace {

Json jsonOfStore(const FolderProject& project, const std::optional<Address>& address) {
  Json object{{"address", address ? Json(address->text()) : Json()}};
  putPath(object, "project", project.root());
  return object;
}

void requireServer(const FolderProject& project) {
  if (project.address()) return;
  throw Refusal(refusals::STORE_IN_FOLDER,
                fmt::format("the store of {} is in its folder, and on no server; to put it on one: {}",
                            inQuotes(project.root()), commandOf({"store", "move"}) + " ADDRESS"));
}

void printLost(const Edit& edit) {
  const std::string time = timeText(edit.at);
  // The words last: whatever they are, they cannot pass for what the program says of them.
  item(fmt::format("lost  {}  {}  {}  {}", edit.number, time, authorOf(edit.user, edit.machine), edit.words),
       {{"type", "lost"},
        {"number", edit.number},
        {"id", utf8(edit.id)},
        {"time", time},
        {"user", utf8(edit.user)},
        {"machine", utf8(edit.machine)},
        {"words", utf8(edit.words)}});
}

}  // namespace

std::string joinCommand(const Address& store) { return "project-share join " + shellWord(store.text()); }

void showStore() {
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  const Position position = project.position();
  const auto seen = project.seen();
  Json object = jsonOfStore(project, project.address());
  object["revision"] = position.revision;
  object["edit"] = utf8(position.editId);
  object["seen"] = seen ? Json(timeText(*seen * 1000)) : Json();
  const std::string place =
      project.address() ? "at " + inQuotes(project.address()->text()) : std::string("in its folder");
  item(fmt::format(
           "The store of {} is {}: {}{}.", inQuotes(project.root()), place,
           position.revision == 0 ? "no edit so far" : fmt::format("edit {} ({})", position.revision, position.editId),
           seen ? ", as of " + timeText(*seen * 1000) : ""),
       object);
}

// From one server to another would leave the first one open for whoever still asks it.
void moveStoreTo(const std::string& typed) {
  const Address address = folder_host::parseAddress(typed);
  const FolderProject project = openProject();
  if (project.address()) {
    throw Refusal(refusals::STORE_ON_SERVER,
                  fmt::format("the store is at {} already; move it back first: {}", inQuotes(project.address()->text()),
                              commandOf({"store", "move"}) + " --back"));
  }
  moveStore(project, address);
  done(fmt::format("Moved the store of {} to {}. To use it from another folder, there: {}", inQuotes(project.root()),
                   inQuotes(address.text()), joinCommand(address)),
       jsonOfStore(project, address));
}

void moveStoreBack() {
  const FolderProject project = openProject();
  requireServer(project);
  project.moveBack();
  done(fmt::format("Moved the store of {} back into its folder; at {} it is closed, for everyone.",
                   inQuotes(project.root()), inQuotes(project.address()->text())),
       jsonOfStore(project, {}));
}

void acceptServer(std::int64_t number) {
  const FolderProject project = openProject();
  requireServer(project);
  const std::vector<Edit> lost = project.lostOnServer();
  for (const Edit& edit : lost) printLost(edit);
  if (lost.empty()) return done("Nothing is lost: the server has all that was seen of it.", {{"lost", 0}});
  const std::string count = counted(lost.size(), "edit is", "edits are");
  if (static_cast<std::size_t>(number) != lost.size()) {
    throw Refusal(folder_host::errors::STORE_WENT_BACK,
                  fmt::format("{} lost on the server, listed on standard output; ask its administrator first; to go on "
                              "without: {}",
                              count, commandOf({"store", "accept", std::to_string(lost.size())})));
  }
  project.acceptServer();
  done(fmt::format("Took what the server has. {} lost: whoever made them has to make them again, before anything is "
                   "shared that they held back.",
                   count),
       {{"lost", lost.size()}});
}

void checkEdit(const std::string& id) {
  const FolderProject project = openProject();
  requireServer(project);
  bool mayEdit = true;
  const auto numberIn = [&](const auto& scope) {
    static_cast<void>(scope);  // open while this is looked up
    const std::vector<Edit> edits = project.history().edits();
    const auto found = std::find_if(edits.begin(), edits.end(), [&](const Edit& edit) { return edit.id == id; });
    return found == edits.end() ? 0 : found->number;
  };
  std::int64_t number = 0;
  try {
    number = numberIn(project.beginWrite());
  } catch (const Refusal& error) {
    if (error.identifier() != std::string_view(folder_host::errors::STORE_READ_ONLY)) throw;
    mayEdit = false;
    number = numberIn(project.metadata()->beginReadScope());
  }
  project.confirm();
  if (number != 0) return item(fmt::format("kept as edit {}", number), {{"number", number}, {"id", utf8(id)}});
  throw Refusal(refusals::EDIT_NOT_KEPT,
                mayEdit ? fmt::format("not kept: there is no edit {}; make it again", inQuotes(id))
                        : fmt::format("not kept so far: there is no edit {}, but it may still come, as you may only "
                                      "read; ask again in a minute",
                                      inQuotes(id)));
}

void trustStoreAt(const std::string& typed) {
  const Address address = folder_host::parseAddress(typed);
  const bool isNew = trustStore(address);
  done(fmt::format("The store at {} may be asked {}.", inQuotes(address.text()), isNew ? "from now on" : "already"),
       {{"address", address.text()}});
}

void forgetStoreAt(const std::string& typed) {
  const Address address = folder_host::parseAddress(typed);
  if (!forgetStore(address)) {
    throw Refusal(refusals::NOT_TRUSTED, fmt::format("{} is no store that may be asked, and there is nothing to forget",
                                                     inQuotes(address.text())));
  }
  done(fmt::format("The store at {} may be asked no more.", inQuotes(address.text())), {{"address", address.text()}});
}

}  // namespace project_share
