#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "memory_host/MemoryHost.h"
#include "memory_host/Probe.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace samples {

using project::sharing::profiles::ExportFilter;
using project::sharing::profiles::ExportProfile;
using project::sharing::profiles::ExportProfileManager;
using project::sharing::profiles::ExportStrategyItem;

using Items = std::vector<ExportStrategyItem>;
using Calls = std::vector<std::string>;

// A filter of any kind, as a profile makes it.
inline std::shared_ptr<ExportFilter> filterOf(const std::u16string& kind, const Items& items) {
  const auto manager = project::sharing::profiles::createManager(std::make_shared<memory_host::MemoryMetadata>());
  return manager->createProfile(u"any")->addFilter(kind, items);
}

// A path of the stored layout, e.g. {{u"Export", u"Root"}, {u"ExportProfile", uuid}}.
inline project::metadata::MetadataPath pathOf(std::vector<project::metadata::PathElement> elements) {
  return project::metadata::MetadataPath(std::move(elements));
}

// Stores a node with at most one value, past the library.
inline void store(project::metadata::MetadataManager& metadata, std::vector<project::metadata::PathElement> path,
                  const std::u16string& key = {}, const std::u16string& value = {}) {
  auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
  if (!key.empty()) node->put(key, value);
  metadata.setNodes({{pathOf(std::move(path)), node}});
}

// Past the check of names.
inline void storeTwins(project::metadata::MetadataManager& metadata) {
  for (const auto* uuid : {u"2", u"3"}) {
    store(metadata, {{u"Export", u"Root"}, {u"ExportProfile", uuid}}, u"Name", u"twin");
  }
}

}  // namespace samples
