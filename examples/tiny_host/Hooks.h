#pragma once

#include "TinyHost.h"
#include "host_conformance/HostConformance.h"

namespace tiny_host {

// What the suite for hosts needs to set up a tiny project.
inline host_conformance::Host hostOf(const std::shared_ptr<TinyProject>& project) {
  host_conformance::Host host;
  host.project = project;
  host.openAgain = [project] {
    const auto again = std::make_shared<TinyProject>();
    again->metadata = project->metadata;
    return again;
  };
  const auto adding = [project](bool isFolder) {
    return [project, isFolder](const path& folder, const std::u16string& name) {
      return project->entries.emplace_back(Entry{path(folder.text() + u"/" + name, true), isFolder, {}}).name;
    };
  };
  host.addFile = adding(false);
  host.addFolder = adding(true);
  host.addLabel = [project](const std::u16string& category, bool isRemovable) {
    const LabelIdentifier label(generateUUID(), isRemovable ? 1 : 0);
    project->categories.insert(category);
    project->labels[{category, label.getUUID()}] = label.isRemovable();
    return Label(CategoryIdentifier(category), label);
  };
  host.attach = [project](const path& entry, const Label& label) {
    project->at(entry).labels.emplace(label.getCategory().toString(), label.getUUID());
  };
  host.workingCopy = [project] {
    const auto copy = std::make_shared<TinyProject>(*project);
    copy->metadata = std::make_shared<TinyMetadata>(*project->metadata);
    return copy;
  };
  host.undoesWriteScopes = true;
  return host;
}

}  // namespace tiny_host
