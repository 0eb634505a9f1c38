#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"
#include "output/Json.h"

// The part of a share that somebody wants to see. It changes nothing of what is judged.
namespace project_share {

// Without anything, all of it.
struct ViewWords {
  std::vector<std::string> paths;  // entries, each with all that lies below it
  std::string only;                // one of viewWords(); empty: everything
  std::size_t depth = 0;           // so many levels, from the project's folder or from the paths; 0: all
};

// "held-back", "shared", "unlabelled"
const std::vector<std::string>& viewWords();

struct Below {
  std::size_t shared = 0;
  std::size_t heldBack = 0;
};

// One entry that is shown.
struct ViewLine {
  std::size_t entry;
  std::size_t indent;          // how many folders above it are shown right above it
  std::optional<Below> below;  // of a folder at the last level: what lies in it
};

// Of every entry of the listing, what lies below it.
std::vector<Below> countedBelow(const folder_host::WorkingCopy& project, const Judgement& judgement);

// The entries that are shown, as a tree has them. A folder at the last level is shown where something below it would
// be. `paths` are relative to the project's folder.
std::vector<ViewLine> viewOf(const folder_host::WorkingCopy& project, const Judgement& judgement,
                             const ViewWords& words);

// That a part alone was shown, and what was not narrowed by it. Nothing where all was wanted.
void printView(const folder_host::WorkingCopy& project, const ViewWords& words, std::size_t shown);

}  // namespace project_share
