#include "words/StoredFilters.h"

#include <fmt/format.h>

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "project/metadata/MetadataPath.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "words/FilterKinds.h"
#include "words/Names.h"

namespace project_share {

using project::metadata::MetadataManager;
using project::metadata::MetadataNode;
using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;
using project::sharing::profiles::ExportProfile;

namespace {

using Nodes = std::map<MetadataPath, std::shared_ptr<MetadataNode>>;

MetadataPath nodeOf(const ExportProfile& profile) {
  return MetadataPathBuilder().add(u"Export", u"Root").add(u"ExportProfile", profile.getUUID()).build();
}

// The library reads items of the type "Filter" alone.
bool isRead(const MetadataPath& item) { return item.getLeaf().getType() == u"Filter"; }

// The node, with all below it. Whoever stored it may have nested it deeper than calls can be.
void addTree(const MetadataPath& top, MetadataManager& metadata, Nodes& nodes) {
  for (std::vector<MetadataPath> open{top}; !open.empty();) {
    const MetadataPath path = open.back();
    open.pop_back();
    nodes[path] = metadata.getNode(path);
    for (MetadataPath& child : metadata.getChildPaths(path)) open.push_back(std::move(child));
  }
}

}  // namespace

// The library passes over what it does not know, and gives no sign. A rule that was written by a newer version would be
// a rule that nobody applies: so the stored form is looked at here.
std::vector<std::string> skippedIn(const ExportProfile& profile, MetadataManager& metadata) {
  std::set<std::u16string> known;
  for (const auto& filter : profile.getFilters()) known.insert(filter->getType());
  std::vector<std::string> skipped;
  for (const MetadataPath& filter : metadata.getChildPaths(nodeOf(profile))) {
    const std::u16string kind = filter.getLeaf().getLocation();
    if (known.count(kind) == 0) skipped.push_back(fmt::format("a filter of the unknown kind {}", inQuotes(kind)));
    for (const MetadataPath& item : metadata.getChildPaths(filter)) {
      if (isRead(item)) continue;
      skipped.push_back(fmt::format("an item of its {} filter, of the unknown type {}", wordOf(kind),
                                    inQuotes(item.getLeaf().getType())));
    }
  }
  return skipped;
}

void saveFilters(ExportProfile& profile, MetadataManager& metadata) {
  std::set<std::u16string> left;
  for (const auto& filter : profile.getFilters()) left.insert(filter->getType());
  Nodes kept;
  for (const MetadataPath& filter : metadata.getChildPaths(nodeOf(profile))) {
    const std::u16string kind = filter.getLeaf().getLocation();
    if (!isKnownKind(kind)) addTree(filter, metadata, kept);
    for (const MetadataPath& item : metadata.getChildPaths(filter)) {
      if (left.count(kind) != 0 && !isRead(item)) addTree(item, metadata, kept);
    }
  }
  profile.save();
  metadata.setNodes(kept);
}

bool removeUnknownFilter(const ExportProfile& profile, const std::u16string& kind, MetadataManager& metadata) {
  if (isKnownKind(kind)) return false;
  std::vector<MetadataPath> found;
  for (const MetadataPath& filter : metadata.getChildPaths(nodeOf(profile))) {
    if (filter.getLeaf().getLocation() == kind) found.push_back(filter);
  }
  metadata.removeNodes(found);
  return !found.empty();
}

void copyFilters(const ExportProfile& from, ExportProfile& to, MetadataManager& metadata) {
  Nodes stored, copied;
  addTree(nodeOf(from), metadata, stored);
  for (auto& [path, node] : stored) {
    const auto& elements = path.getElements();
    std::vector<project::metadata::PathElement> place = nodeOf(to).getElements();
    place.insert(place.end(), elements.begin() + static_cast<std::ptrdiff_t>(place.size()), elements.end());
    copied.emplace(MetadataPath(std::move(place)), std::move(node));
  }
  const std::u16string name = to.getName();
  metadata.setNodes(copied);
  to.setName(name);
}

}  // namespace project_share
