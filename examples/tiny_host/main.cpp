// Shares a working copy of a project by a stored profile, and prints what is shared.
#include <iostream>

#include "TinyHost.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

using namespace project::sharing::profiles;
using namespace tiny_host;

int main() {
  TinyProject original;
  const LabelKey internal(u"audience", u"internal"), customer(u"audience", u"customer");
  original.categories = {u"audience"};
  original.labels = {{internal, 1}, {customer, 1}};
  const auto add = [&](const char16_t* name, bool isFolder, const std::set<LabelKey>& labels) {
    original.entries.push_back({path(name, true), isFolder, labels});
  };
  add(u"/p/offer.txt", false, {customer});
  add(u"/p/notes", true, {internal});
  add(u"/p/notes/todo.txt", false, {internal});
  add(u"/p/study", true, {internal});
  add(u"/p/study/draft.txt", false, {internal});
  add(u"/p/study/summary.txt", false, {});

  const auto profile = createManager(original.metadata)->createProfile(u"public");
  for (const auto& kind : {EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL}) {
    profile->addFilter(kind, {{internal.first, internal.second}});
  }
  profile->save();

  // Filters remove entries and labels, so a transformation gets a copy, never the project itself.
  const auto copy = std::make_shared<TinyProject>(original);
  copy->metadata = std::make_shared<TinyMetadata>(*original.metadata);
  project::sharing::SerializationData data;
  data.projectPath = copy->getRootFolder();
  data.projectManagers[data.projectPath] = copy;
  ExportProfileTransformation(profile->getUUID()).apply(data);

  for (const Entry& entry : copy->entries) {
    std::cout << std::string(entry.name.text().begin(), entry.name.text().end()) << '\n';
  }
  for (const auto& [label, isRemovable] : copy->labels) {
    std::cout << "label " << std::string(label.second.begin(), label.second.end()) << '\n';
  }
}
