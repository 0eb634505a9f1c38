#pragma once

#include <cstddef>
#include <string>

#include "filters/TextSet.h"
#include "fl/filesystem/path.h"

namespace project::sharing::profiles {

// The folders between the project's root and the files that are shared: these have to be shared too.
class NeededFolders {
 public:
  // What an entry is asked for by, besides its path. It is made while the path is in the processor's cache, and saves
  // another look at most paths.
  using Mark = std::size_t;

  NeededFolders(std::u16string rootText, const KeyedHash& hash);

  // Adds the folders above the entry, up to the root (which is never among them), to a path that has no parent, or to a
  // folder that is known already: the folders above that one are known, too.
  void needAncestorsOf(const fl::filesystem::path& entry);

  Mark markOf(const fl::filesystem::path& entry) const { return folders.hashOf(entry.text()); }

  // Says whether this folder is needed, once: of a folder that is listed twice, the second is removed.
  bool spare(const fl::filesystem::path& folder, Mark mark);

 private:
  std::u16string root;
  TextSet folders;
  std::u16string latest;  // the folder of the latest entry, in which the next one mostly lies too
};

}  // namespace project::sharing::profiles
