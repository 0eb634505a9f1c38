#pragma once

#include <optional>
#include <string>
#include <vector>

#include "folder_host/share/CopyNotes.h"
#include "folder_host/share/EarlierCopy.h"
#include "folder_host/share/TreeCopy.h"
#include "folder_host/share/WorkingCopy.h"
#include "folder_host/share/read/Source.h"

namespace folder_host {

// What a copy of the entries has got, in their order, where the earlier copy is in all just what a new one would be:
// then nothing has to be made. Nothing where anything differs, or where the notes do not tell that it does not. Files
// are not opened: by the notes, neither the project's nor the copy's has been changed since the one was made of the
// other. `store` is the new copy's; empty: it has none. Fails with std::system_error, and as EntryReader does.
std::optional<std::vector<Written>> writtenBefore(const EarlierCopy& earlier, const CopyNotes& notes,
                                                  const Source& source, const std::vector<const Entry*>& entries,
                                                  const std::string& store);

}  // namespace folder_host
