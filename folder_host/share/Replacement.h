#pragma once

#include "folder_host/files/Publication.h"
#include "folder_host/share/HandOutOptions.h"
#include "folder_host/share/sinks/Takeover.h"

namespace folder_host {

// How a folder that is handed out gets its name: where nothing is, over an empty folder, or in the place of an earlier
// copy; and what is noted for the next one. All of it fails with std::system_error.
class Replacement {
 public:
  // All of them outlive this object. `known` are the notes of the copy that is at the place. What the options'
  // beforeTwoSteps throws passes.
  Replacement(Publication& publication, const Place& place, const HandOutOptions& options, const WorkingCopy& copy,
              CopyNotes known);

  // For the sink; null where nothing is taken over or noted.
  Takeover* takeover() noexcept { return isNoted_ ? &takeover_ : nullptr; }
  void publish(HandedOut& result);

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
