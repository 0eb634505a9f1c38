#include "words/StoredFilters.h"

#include <fmt/format.h>

#include <set>

#include "project/metadata/MetadataPath.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "words/FilterKinds.h"
#include "words/Names.h"

namespace project_share {

using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;

// The library passes over what it does not know, and gives no sign. A rule that was written by a newer version would be
// a rule that nobody applies: so the stored form is looked at here.
std::vector<std::string> skippedIn(const project::sharing::profiles::ExportProfile& profile,
                                   project::metadata::MetadataManager& metadata) {
  std::set<std::u16string> known;
  for (const auto& filter : profile.getFilters()) known.insert(filter->getType());
  std::vector<std::string> skipped;
  const MetadataPath node =
      MetadataPathBuilder().add(u"Export", u"Root").add(u"ExportProfile", profile.getUUID()).build();
  for (const MetadataPath& filter : metadata.getChildPaths(node)) {
    const std::u16string kind = filter.getLeaf().getLocation();
    if (known.count(kind) == 0) skipped.push_back(fmt::format("a filter of the unknown kind {}", inQuotes(kind)));
    // The library reads items of the type "Filter" alone.
    for (const MetadataPath& item : metadata.getChildPaths(filter)) {
      if (item.getLeaf().getType() == u"Filter") continue;
      skipped.push_back(fmt::format("an item of its {} filter, of the unknown type {}", wordOf(kind),
                                    inQuotes(item.getLeaf().getType())));
    }
  }
  return skipped;
}

}  // namespace project_share
