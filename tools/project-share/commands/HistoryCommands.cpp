#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "output/EditReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "receipt/ShareRecord.h"
#include "settings/OpenProject.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Edit;
using folder_host::FolderProject;

namespace {

std::string wordsOf(const Edit& edit) { return edit.words.empty() ? "(no words)" : edit.words; }

// The number of the edit with that id; 0: none.
std::int64_t numberOf(const std::vector<Edit>& edits, const std::string& id) {
  const auto is = [&](const Edit& edit) { return edit.id == id; };
  const auto found = id.empty() ? edits.end() : std::find_if(edits.begin(), edits.end(), is);
  return found != edits.end() ? found->number : 0;
}

Json jsonOf(const std::vector<Edit>& edits, const Edit& edit, const EditTexts& texts) {
  Json object{{"type", "edit"},
              {"number", edit.number},
              {"id", utf8(edit.id)},
              {"time", timeText(edit.at)},
              {"user", utf8(edit.user)},
              {"machine", utf8(edit.machine)},
              {"words", utf8(edit.words)},
              {"takenBack", edit.isTakenBack}};
  if (const auto undone = numberOf(edits, edit.undoes); undone != 0) object["tookBack"] = undone;
  object["changes"] = Json::array();
  for (const ChangeText& change : texts.changesOf(edit)) {
    object["changes"].push_back(
        {{"change", change.isAdded ? "added" : "removed"}, {"kind", change.kind}, {"text", utf8(change.text)}});
  }
  return object;
}

void printEdit(const std::vector<Edit>& edits, const Edit& edit, const EditTexts& texts) {
  const auto undone = numberOf(edits, edit.undoes);
  // The words last: whatever they are, they cannot pass for what the program says of them.
  item(fmt::format("{}  {}  {}  ({}{}{})  {}", edit.number, timeText(edit.at), authorOf(edit.user, edit.machine),
                   undone != 0 ? fmt::format("took back {}: ", undone) : "", texts.sumOf(edit),
                   edit.isTakenBack ? "; taken back" : "", wordsOf(edit)),
       jsonOf(edits, edit, texts));
}

// A text of a line that the folder keeps; anybody may have written it.
std::string textIn(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

void printShare(const Json& share) {
  const auto profile = share.find("profile");
  const std::string name = profile != share.end() && profile->is_object()
                               ? "by profile " + inQuotes(textIn(*profile, "name"))
                               : "as a whole";
  item(fmt::format("share  {}  {}  ({} to {})  {}", freeName(textIn(share, "time")),
                   authorOf(textIn(share, "user"), textIn(share, "machine")), name,
                   inQuotes(textIn(share, "destination")), textIn(share, "words")),
       share);
}

std::vector<ShareRecord> sharesOrNote(const FolderProject& project) {
  try {
    return sharesOf(project);
  } catch (const std::system_error& error) {
    const std::string message = "the list of shares in the project's folder cannot be read: " + error.code().message();
    printNotes({{risks::SHARE_UNLISTED.identifier, {}, message}});
    return {};
  }
}

Refusal noEdit(std::int64_t number) {
  return {folder_host::errors::EDIT_NOT_FOUND,
          fmt::format("there is no edit {}; to see which there are: {}", number, commandOf({"log"}))};
}

void printOne(const std::vector<Edit>& edits, std::int64_t number, const EditTexts& texts) {
  const auto edit = std::find_if(edits.begin(), edits.end(), [&](const Edit& one) { return one.number == number; });
  if (edit == edits.end()) throw noEdit(number);
  printEdit(edits, *edit, texts);
  if (manner().json) return;
  for (const ChangeText& change : texts.changesOf(*edit))
    line(fmt::format("  {} {}", change.isAdded ? '+' : '-', change.text));
}

Edit undoneOrHow(const FolderProject& project, std::int64_t number, const Table& table) {
  try {
    return project.undo(number, table);
  } catch (const folder_host::EditInTheWay& error) {
    throw Refusal(error.identifier(),
                  fmt::format("{}: {}", error.what(), commandOf({"undo", std::to_string(error.first())})));
  } catch (const Refusal& error) {
    if (std::strcmp(error.identifier(), folder_host::errors::EDIT_NOT_FOUND) != 0) throw;
    throw noEdit(number);
  }
}

}  // namespace

// Shares stand where their times say, between the edits, which stand in their order, whatever a clock said.
void showLog(std::int64_t number, bool all) {
  constexpr std::size_t MOST = 20;
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  const std::vector<Edit> edits = project.history().edits();
  const EditTexts texts(edits, project.labels().list());
  if (number != 0) return printOne(edits, number, texts);
  const std::vector<ShareRecord> shares = sharesOrNote(project);
  const std::size_t entries = edits.size() + shares.size();
  std::size_t passed = all || manner().json || entries <= MOST ? 0 : entries - MOST;
  if (passed > 0)
    line(fmt::format("{} before these; all of them: {}", counted(passed, "entry", "entries"),
                     commandOf({"log", "--all"})));
  auto share = shares.begin();
  for (auto edit = edits.begin(); edit != edits.end() || share != shares.end();) {
    const bool isShare = edit == edits.end() || (share != shares.end() && share->at < edit->at);
    const bool isPassed = passed > 0 && passed-- > 0;
    if (!isPassed) isShare ? printShare(share->object) : printEdit(edits, *edit, texts);
    isShare ? static_cast<void>(++share) : static_cast<void>(++edit);
  }
}

void undoEdit(std::int64_t number) {
  const FolderProject project = openProject();
  if (number == 0) {
    const folder_host::Author& self = project.author();
    number = project.history().lastOf(self);
    if (number == 0) {
      throw Refusal(refusals::NOTHING_TO_UNDO,
                    fmt::format("{} has no edit that could be taken back; to see those of others: {}",
                                inQuotes(authorOf(self.user, self.machine)), commandOf({"log"})));
    }
  }
  const Table table = tableOf(project);
  const Edit undone = undoneOrHow(project, number, table);
  std::vector<folder_host::LabelRecord> labels;
  try {
    labels = project.labels().list();
  } catch (const Refusal&) {
    // It is taken back, whatever else cannot be read: what the edit itself says of names has to do.
  }
  const EditTexts texts({undone}, labels);
  const auto by = project.lastEdit();
  Json object = jsonOf({}, undone, texts);
  object["type"] = "undone";
  object["undo"] = by;
  const char* elsewhere =
      project.address() && !undone.settled.empty()
          ? " If it was made in another folder, that folder goes on sharing what it settled; to hold "
            "that back everywhere, attach the label to it."
          : "";
  done(fmt::format("Took back edit {} of {}: {} ({}).{} To have it again: {}", undone.number,
                   inQuotes(authorOf(undone.user, undone.machine)), wordsOf(undone), texts.sumOf(undone), elsewhere,
                   commandOf({"undo", std::to_string(by)})),
       object);
}

}  // namespace project_share
