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
  const std::size_t entries = judgement.copy->listing().entries.size();
  Json object{{"type", "share"},
              {"at", at},
              {"time", timeText(at)},
              {"user", utf8(author.user)},
              {"machine", utf8(author.machine)},
              {"words", utf8(author.words)}};
  object["profile"] = whole ? Json() : Json{{"uuid", utf8(judgement.uuid)}, {"name", utf8(judgement.name)}};
  putPath(object, "destination", destination);
  object["shared"] = judgement.shared.size();
  object["heldBack"] = entries - judgement.shared.size();
  return written(object);
}

std::vector<ShareRecord> sharesOf(const FolderProject& project) {
  const auto lines =
      folder_host::attempt(folder_host::errors::STORE_FAILED, "cannot read the list of shares of", project.root(),
                           [&] { return folder_host::sharesListed(project.storeFolder()); });
  std::vector<ShareRecord> shares;
  for (const std::string& line : lines) {
    Json object = Json::parse(line, nullptr, false);
    const bool isShare =
        object.is_object() && object.value("type", Json()) == "share" && object["at"].is_number_integer();
    if (!isShare) continue;
    const auto at = object["at"].get<std::int64_t>();
    object.erase("at");
    shares.push_back({at, std::move(object)});
  }
  return shares;
}

}  // namespace project_share
