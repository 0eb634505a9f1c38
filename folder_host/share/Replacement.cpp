#include "folder_host/share/Replacement.h"

#include <system_error>
#include <utility>

namespace folder_host {

namespace {

bool isUntouched(const Descriptor& folder, const std::string& digest) {
  try {
    return digestOf(stateOf(folder)) == digest;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

Replacement::Replacement(Publication& publication, const Place& place, const HandOutOptions& options,
                         const WorkingCopy& copy, CopyNotes known)
    : publication_(publication),
      place_(place),
      options_(options),
      takeover_(options.keepsEarlier ? nullptr : options.earlier, std::move(known), options.comparesContent, copy),
      isNoted_(options.storeFolder != nullptr || takeover_.takes()),
      isAtOnce_(options.earlier == nullptr || publication.exchangesAtOnce()) {
  if (!isAtOnce_ && options.beforeTwoSteps) options.beforeTwoSteps();
}

void Replacement::publish(HandedOut& result) {
  for (const std::string& path : result.changed) takeover_.forget(path);
  result.takenOver = takeover_.count();
  if (options_.earlier != nullptr) {
    replaceEarlier(result);
  } else {
    place_.mayGiveWay ? publication_.publishOverEmpty(place_.name) : publication_.publish(place_.name);
  }
  if (!result.isTakenBack) keepNotes();
}

// Up to the exchange somebody may have written to the earlier copy, so it is looked at once more. A file that was taken
// over would be a file of both then: so all is made as it was. Else nothing fails any more, as the new copy is there.
void Replacement::replaceEarlier(HandedOut& result) {
  const EarlierCopy& earlier = *options_.earlier;
  const std::string digest = digestOf(takeover_.takes() ? takeover_.expected() : earlier.seen);
  const std::string made = takeover_.count() > 0 ? digestOf(stateOf(publication_.content())) : std::string();
  publication_.exchange(place_.name, idOf(statusOf(earlier.folder)), digest, isAtOnce_);
  const bool untouched = isUntouched(earlier.folder, digest);
  if (!untouched && takeover_.count() > 0) {
    publication_.giveBack();
    result.isTakenBack = true;
    // It had its name for a moment, and somebody may have written to it, too.
    if (!isUntouched(publication_.content(), made)) result.keptBefore.push_back(publication_.keepStaging(place_.name));
    return;
  }
  result.kept = publication_.earlierName();
  try {
    if (!untouched || options_.keepsEarlier) {
      result.kept = publication_.keepEarlier();
      return;
    }
    publication_.giveUpEarlier(earlier.folder);
    result.kept.clear();  // whoever comes next removes what cannot be removed now
    takeover_.release(publication_.content());
    publication_.removeEarlier(earlier.folder);
  } catch (const std::system_error&) {  // where it is, is told
  }
}

// A note that is lost costs a copy.
void Replacement::keepNotes() const {
  try {
    if (options_.storeFolder != nullptr) takeover_.writeNotes(*options_.storeFolder, place_.path());
  } catch (const std::system_error&) {
  }
}

}  // namespace folder_host
