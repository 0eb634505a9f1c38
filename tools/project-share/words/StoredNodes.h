#pragma once

#include "project/metadata/MetadataPath.h"

namespace project_share {

// What a node is, by the path at which it stands (docs/stored-format.md). An item is that of a filter of a profile.
enum class NodeKind { profilesRoot, profile, filter, item, settledRoot, settled, other };
NodeKind kindOf(const project::metadata::MetadataPath& path);
// Whether it is the root of the profiles or below it.
bool isOfProfiles(const project::metadata::MetadataPath& path);

// The node above; the path is not empty.
project::metadata::MetadataPath parentOf(const project::metadata::MetadataPath& path);

}  // namespace project_share
