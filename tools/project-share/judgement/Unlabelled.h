#pragma once

#include <cstddef>
#include <vector>

#include "judgement/Judgement.h"
#include "judgement/Mending.h"

// What nobody has said anything of.
namespace project_share {

// By entry: whether it has a label.
std::vector<bool> labelledIn(const folder_host::WorkingCopy& project);

// By entry: the topmost folder above it in which nothing has a label, that folder included. The entry itself where
// there is none.
std::vector<std::size_t> unlabelledTops(const folder_host::EntryTable& table, const std::vector<bool>& labelled);

// UNLABELLED_SHARED: each file and link that is shared without a label, together with the others of its topmost folder
// without labels or, where there is none, with those that lie beside it. `project` is as it was before any filter.
void addUnlabelled(const folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement);

}  // namespace project_share
