#pragma once

#include <functional>
#include <memory>

#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "host_conformance/HostConformance.h"

namespace folder_host {

// A host of the suite: the project in that place, opened once more by `open`, however and wherever it keeps its store.
host_conformance::Host hostOf(const std::shared_ptr<TemporaryFolder>& place, FolderProject project,
                              const std::function<FolderProject()>& open, const std::function<void()>& failNextCommit);

}  // namespace folder_host
