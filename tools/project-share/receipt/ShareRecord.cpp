#include "receipt/ShareRecord.h"

#include <chrono>

#include "folder_host/share/ShareList.h"
#include "output/EditReport.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::FolderProject;

std::string lineOf(const FolderProject& project, const Judgement& judgement, const std::string& destination) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t at = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  const folder_host::Author& author = project.author();
  const bool whole = judgement.uuid == profiles::getWholeProjectUUID();
  Json object{{"type", "share"},
              {"at", at},
              {"time", timeText(at)},
              {"user", utf8(author.user)},
              {"machine", utf8(author.machine)},
              {"words", utf8(author.words)}};
  object["profile"] = whole ? Json() : Json{{"uuid", utf8(judgement.uuid)}, {"name", utf8(judgement.name)}};
  putPath(object, "destination", destination);
  if (!judgement.copy->scopePath().empty()) putPath(object, "from", judgement.copy->scopePath());
  object["shared"] = judgement.shared.size();
  object["heldBack"] = judgement.entries - judgement.shared.size();
  const folder_host::Position position = judgement.copy->position();
  object["revision"] = position.revision;
  object["edit"] = utf8(position.editId);
  if (project.address()) object["address"] = project.address()->text();
  return written(object);
}

namespace {

// What is known of it alone: the list may be a stranger's, and what is printed would have to be anything then.
Json knownOf(const nlohmann::json& line) {
  Json object{{"type", "share"}};
  const auto take = [&](Json& to, const nlohmann::json& from, const char* key) {
    const auto found = from.find(key);
    if (found == from.end()) return;
    if (found->is_string()) to[key] = found->get<std::string>();
    if (found->is_number_unsigned()) to[key] = found->get<std::uint64_t>();
  };
  for (const char* key : {"time", "user", "machine", "words"}) take(object, line, key);
  const auto profile = line.find("profile");
  object["profile"] = Json();
  if (profile != line.end() && profile->is_object()) {
    for (const char* key : {"uuid", "name"}) take(object["profile"], *profile, key);
  }
  for (const char* key :
       {"destination", "destinationHex", "from", "fromHex", "shared", "heldBack", "revision", "edit", "address"})
    take(object, line, key);
  return object;
}

}  // namespace

std::vector<ShareRecord> sharesOf(const FolderProject& project) {
  std::vector<ShareRecord> shares;
  for (const std::string& text : folder_host::sharesListed(project.storeFolder())) {
    // Not one that keeps its order: it copies what it holds as it grows, however deep that is.
    const nlohmann::json line = nlohmann::json::parse(text, nullptr, false);
    const auto at = line.is_object() ? line.find("at") : line.end();
    if (at != line.end() && at->is_number_integer()) shares.push_back({at->get<std::int64_t>(), knownOf(line)});
  }
  return shares;
}

}  // namespace project_share
