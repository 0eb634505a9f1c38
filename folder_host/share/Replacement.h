#pragma once

#include "folder_host/files/Publication.h"
#include "folder_host/share/HandOut.h"
#include "folder_host/share/sinks/Takeover.h"

namespace folder_host {

// How a folder that is handed out gets its name: where nothing is, over an empty folder, or in the place of an earlier
// copy; and what is noted for the next one. All of it fails with std::system_error.
class Replacement {
 public:
  // All of them outlive this object. `listed` is when the project was listed. What the options' beforeTwoSteps throws
  // passes.
  Replacement(Publication& publication, const Place& place, const HandOutOptions& options, timespec listed);

  // For the sink; null where nothing is taken over or noted.
  Takeover* takeover() noexcept { return isNoted_ ? &takeover_ : nullptr; }
  // `below`: where a path in the copy begins in that of an entry.
  void publish(HandedOut& result, std::size_t below);

 private:
  void replaceEarlier(HandedOut& result);
  void keepNotes() const;

  Publication& publication_;
  const Place& place_;
  const HandOutOptions& options_;
  Takeover takeover_;
  bool isNoted_;
  bool isAtOnce_;
};

}  // namespace folder_host
