#pragma once

#include <cstddef>
#include <string>

#include "filters/TextSet.h"
#include "fl/filesystem/path.h"

namespace project::sharing::profiles {

// The folders between the project's root and the files that are shared: these have to be shared too.
class NeededFolders {
 public:
  // What an entry is asked for by, besides its path: made while the path is in the processor's cache, it saves another
  // look at most paths.
  using Mark = std::size_t;

  NeededFolders(std::u16string rootText, const KeyedHash& hash);

  // Walks up from the entry, to the root (which is never among the folders), to a path that has no parent, or to a
  // folder that is known already, whose own ancestors are known then.
  void needAncestorsOf(const fl::filesystem::path& entry);

  Mark markOf(const fl::filesystem::path& entry) const { return folders.hashOf(entry.text()); }

  // Spares this folder if it is needed, and says whether. It is spared once: of an entry that is listed twice the
  // second is removed.
  bool spare(const fl::filesystem::path& folder, Mark mark);

 private:
  bool isLatest(TextSet::Text folder) const;

  std::u16string root;
  TextSet folders;
  std::u16string latest;  // holds the latest entry: what is listed next mostly lies there too
};

}  // namespace project::sharing::profiles
