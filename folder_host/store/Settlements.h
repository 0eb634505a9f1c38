#pragma once

#include <string>

#include "project/metadata/MetadataManager.h"

namespace folder_host {

// What a person has said of a file whose content, or whose name, looks like what a label holds back: with this content
// it may be shared at this path. Kept in the project's metadata, beside the profiles; no copy has them.
class Settlements {
 public:
  // The metadata outlives this object.
  explicit Settlements(project::metadata::MetadataManager& metadata) : metadata_(metadata) {}

  // Replaces what was said of the path for that label. The digest is as digestOf gives it.
  void settle(const std::string& path, const std::u16string& labelUUID, const std::string& digest);

  // Not where the digest is empty.
  bool isSettled(const std::string& path, const std::u16string& labelUUID, const std::string& digest) const;

 private:
  project::metadata::MetadataManager& metadata_;
};

}  // namespace folder_host
