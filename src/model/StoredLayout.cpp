#include "model/StoredLayout.h"

#include "project/sharing/profiles/ExportProfile.h"

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

MetadataPath filterPath(const ExportProfile& profile, const std::u16string& filterType) {
  MetadataPathBuilder builder;
  builder.add(profilePath(profile.getUUID()));
  builder.add(FILTER_TYPE, filterType);
  return builder.build();
}

}  // namespace project::sharing::profiles
