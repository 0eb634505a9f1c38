#pragma once

#include <string>

#include "project/metadata/MetadataPath.h"

namespace project::sharing::profiles {

// Where profiles stand in the metadata, written type : location:
//
//   "Export" : "Root" / "ExportProfile" : uuid / "Filter" : kind / "Filter" : label UUID
//
// A profile's node has the value "Name", an item's node the value "Data" (the category); the others have none. What
// names a node is its location, so no profile, filter or item is stored twice, and one call lists all that a node
// holds. Projects are stored in this way, so none of it may change.
inline const std::u16string ROOT_LOCATION = u"Root";
inline const std::u16string EXPORT_TYPE = u"Export";
inline const std::u16string PROFILE_TYPE = u"ExportProfile";
inline const std::u16string FILTER_TYPE = u"Filter";  // of a filter's node and of an item's node
inline const std::u16string NAME_KEY = u"Name";
inline const std::u16string DATA_KEY = u"Data";

project::metadata::MetadataPath profilesRootPath();
project::metadata::MetadataPath profilePath(const std::u16string& uuid);
// Of a filter below its profile, and of an item below its filter: the two differ in depth alone.
project::metadata::MetadataPath filterPath(const project::metadata::MetadataPath& parent,
                                           const std::u16string& location);

}  // namespace project::sharing::profiles
