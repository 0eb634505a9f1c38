#pragma once

#include <string>

#include "project/metadata/MetadataPath.h"

namespace project::sharing::profiles {

class ExportProfile;

// Where profiles stand in the metadata, written type : location:
//
//   "Export" : "Root" / "ExportProfile" : uuid / "Filter" : kind / "Filter" : label UUID
//
// A profile's node has the value "Name", an item's node the value "Data" (the category); the others have none.
// Each name is made when the library is loaded.
inline const std::u16string ROOT_LOCATION = u"Root";
inline const std::u16string EXPORT_TYPE = u"Export";
inline const std::u16string PROFILE_TYPE = u"ExportProfile";
inline const std::u16string FILTER_TYPE = u"Filter";  // of a filter's node and of an item's node
inline const std::u16string NAME_KEY = u"Name";
inline const std::u16string DATA_KEY = u"Data";

project::metadata::MetadataPath profilesRootPath();
project::metadata::MetadataPath profilePath(const std::u16string& uuid);
project::metadata::MetadataPath filterPath(const ExportProfile& profile, const std::u16string& filterType);

}  // namespace project::sharing::profiles
