#pragma once

#include <string>
#include <utility>
#include <vector>

#include "folder_host/labels/Followed.h"

namespace folder_host {

// Gives the entries at the paths of `scope`, or below them, the labels that they had under other names (see Followed):
// their marks and exceptions move to where they are now, or stay at the old path as well where something else is there
// by now; what the old place gave them, they get by marks of their own. All else below has what it has. Nothing is let
// out that had no exception: an entry that has labels by its place that it had not keeps them, and is not among the
// result. Where `leavesOld`, all that is at the old paths stays there as well: another folder with the same labels may
// still have the entries there. `followed` is of the table and of what the store holds. To be called in a write scope.
// Gives the entries' paths, each with where its labels came from, in the order of the listing.
std::vector<std::pair<std::string, std::string>> followIn(const Followed& followed, const EntryTable& entries,
                                                          const std::vector<std::string>& scope, LabelStore& labels,
                                                          bool leavesOld = false);

}  // namespace folder_host
