#include "judgement/Judge.h"

#include <fmt/format.h>

#include "folder_host/text/Utf.h"
#include "judgement/Mending.h"
#include "judgement/ProfileRisks.h"
#include "judgement/TraceRisks.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::WorkingCopy;

namespace {

void addNothingShared(Judgement& judgement, const Mend& mend) {
  if (judgement.shared.empty()) judgement.found.add(risks::NOTHING_SHARED, {}, "no entry would be shared", {mend});
}

}  // namespace

std::string wordFor(const Judgement& judgement) {
  const std::string name = folder_host::toBytes(judgement.name);
  const bool isPlain = !name.empty() && name.front() != '-' && isTyped(name);
  return isPlain ? name : folder_host::toBytes(judgement.uuid);
}

// By the reserved UUID everything would be shared, whatever the profile's filters are.
Judgement judge(WorkingCopy& project, const profiles::ExportProfile& profile, folder_host::Look look) {
  if (profile.getUUID() == profiles::getWholeProjectUUID()) {
    throw Refusal(refusals::PROFILE_DAMAGED,
                  fmt::format("the profile {} has the UUID that means the whole project: duplicate it under another "
                              "name, and delete it",
                              inQuotes(nameOf(profile))));
  }
  const Filters filters = profile.getFilters();
  Judgement judgement = judged(project, profile.getUUID(), filters);
  judgement.name = nameOf(profile);
  const Mending mending(filters, project);
  addProfileRisks(project, profile, mending, judgement);
  addTraceRisks(project, mending, judgement, look);
  Command why = typedCommand({"preview", wordFor(judgement)});
  if (!project.scopePath().empty()) {
    const std::string from = fromHere(project.root(), project.scopePath());
    why = isTyped(from) ? Command{why.text + " " + typedWords({"--from", from})}
                        : Command{"preview the profile with the same --from", false};
  }
  addNothingShared(judgement, {"this tells why", why});
  return judgement;
}

// Without a filter nothing is held back, so nothing can leave by another way; only what would harm the copy or its
// receiver is looked for.
Judgement judgeWhole(const WorkingCopy& project) {
  Judgement judgement = judged(project, profiles::getWholeProjectUUID(), {});
  addPlaceRisks(project, Mending({}, project), judgement, folder_host::Look::each);
  addNothingShared(judgement, {"the project holds nothing that can be handed out"});
  return judgement;
}

}  // namespace project_share
