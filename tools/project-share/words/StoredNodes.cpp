#include "words/StoredNodes.h"

#include <cstddef>

namespace project_share {

using project::metadata::MetadataPath;

NodeKind kindOf(const MetadataPath& path) {
  const auto& elements = path.getElements();
  const auto isRoot = [&](const char16_t* type) {
    return !elements.empty() && elements[0].getType() == type && elements[0].getLocation() == u"Root";
  };
  const auto is = [&](std::size_t at, const char16_t* type) { return elements[at].getType() == type; };
  if (isRoot(u"Settled") && elements.size() == 1) return NodeKind::settledRoot;
  if (isRoot(u"Settled") && elements.size() == 2 && is(1, u"Path")) return NodeKind::settled;
  if (!isRoot(u"Export")) return NodeKind::other;
  if (elements.size() == 1) return NodeKind::profilesRoot;
  if (!is(1, u"ExportProfile") || elements.size() > 4) return NodeKind::other;
  if (elements.size() == 2) return NodeKind::profile;
  if (!is(2, u"Filter")) return NodeKind::other;
  if (elements.size() == 3) return NodeKind::filter;
  return is(3, u"Filter") ? NodeKind::item : NodeKind::other;
}

bool isOfProfiles(const MetadataPath& path) {
  const auto& elements = path.getElements();
  return !elements.empty() && kindOf(MetadataPath({elements.front()})) == NodeKind::profilesRoot;
}

MetadataPath parentOf(const MetadataPath& path) {
  return MetadataPath({path.getElements().begin(), path.getElements().end() - 1});
}

}  // namespace project_share
