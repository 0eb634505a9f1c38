#include "folder_host/store/Settlements.h"

#include <memory>
#include <stdexcept>

#include "folder_host/text/Utf.h"

namespace folder_host {

using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;

namespace {

// A node each path, a value each label.
MetadataPath nodeOf(const std::string& path) {
  return MetadataPathBuilder().add(u"Settled", u"Root").add(u"Path", fromBytes(path)).build();
}

}  // namespace

void Settlements::settle(const std::string& path, const std::u16string& labelUUID, const std::string& digest) {
  const auto node = std::make_shared<MetadataNodeSpecification>();
  node->put(labelUUID, fromBytes(digest));
  metadata_.setNodes({{nodeOf(path), node}});
}

bool Settlements::isSettled(const std::string& path, const std::u16string& labelUUID, const std::string& digest) const {
  // What cannot be read has no digest, and nobody has said of it that it may be shared.
  const auto node = digest.empty() ? nullptr : metadata_.getNode(nodeOf(path));
  if (!node) return false;
  try {
    return node->getValue(labelUUID) == fromBytes(digest);
  } catch (const std::out_of_range&) {
    return false;
  }
}

}  // namespace folder_host
