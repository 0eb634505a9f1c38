#include "model/StoredLayout.h"

namespace project::sharing::profiles {

using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;

MetadataPath profilesRootPath() {
  MetadataPathBuilder builder;
  builder.add(EXPORT_TYPE, ROOT_LOCATION);
  return builder.build();
}

MetadataPath profilePath(const std::u16string& uuid) {
  MetadataPathBuilder builder;
  builder.add(profilesRootPath());
  builder.add(PROFILE_TYPE, uuid);
  return builder.build();
}

MetadataPath filterPath(const MetadataPath& parent, const std::u16string& location) {
  MetadataPathBuilder builder;
  builder.add(parent);
  builder.add(FILTER_TYPE, location);
  return builder.build();
}

}  // namespace project::sharing::profiles
