// Runs the example in the tiny host: of two files, the one without the label is shared.
#include <iostream>
#include <string>

#include "project/sharing/profiles/ExportStrategyItem.h"
#include "tiny_host/TinyHost.h"

using project::sharing::profiles::ExportStrategyItem;

std::u16string makeProfile(project::management::ProjectManager& project, const ExportStrategyItem& internal);
void strip(const std::shared_ptr<project::management::ProjectManager>& workingCopy, const std::u16string& uuid);

int main() {
  const auto project = std::make_shared<tiny_host::TinyProject>();
  const tiny_host::LabelKey internal(u"audience", u"internal");
  project->categories = {internal.first};
  project->labels = {{internal, 1}};
  project->entries = {{tiny_host::path(u"/p/draft", true), false, {internal}},
                      {tiny_host::path(u"/p/report", true), false, {}}};

  strip(project, makeProfile(*project, {internal.first, internal.second}));

  for (const auto& entry : project->entries) {
    const std::u16string& name = entry.name.text();
    std::cout << "left: " << std::string(name.begin(), name.end()) << '\n';
  }
  return project->entries.size() == 1 && project->entries.front().name.text() == u"/p/report" ? 0 : 1;
}
