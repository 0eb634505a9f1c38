#pragma once

#include <string>

#include "folder_host/files/FolderState.h"
#include "folder_host/files/Place.h"
#include "folder_host/share/CopyNotes.h"
#include "folder_host/share/WorkingCopy.h"

namespace folder_host {

// A copy that is to give way to a newer one, as it stood when it was looked at: whatever is written to it later is
// found by that.
struct EarlierCopy {
  Place place;
  Descriptor folder;
  FolderState seen;
};

// Whether by the notes nobody has touched a file of the copy since it was made; its own store apart. Sizes and times of
// modification would not tell: whoever writes can set them.
bool isAsNoted(const EarlierCopy& copy, const CopyNotes& notes);

// Looks at what a person names, which is to be a folder of the caller's own and nothing that is in use: no mount point,
// with nothing mounted in it, not the working directory, not updated by somebody else right now, and not a folder that
// holds the project or lies in it. What an update that was killed left without a name gets it back before. Errors:
// DESTINATION_UNUSABLE, DESTINATION_IN_PROJECT.
EarlierCopy earlierCopyAt(const WorkingCopy& copy, const std::string& destination);

}  // namespace folder_host
