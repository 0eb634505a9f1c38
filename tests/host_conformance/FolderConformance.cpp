#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>

#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/text/Utf.h"
#include "host_conformance/HostConformance.h"

namespace folder_host {

namespace {

// A project, with the working copy that a share would take of it as it stands.
class FolderHost final : public project::management::ProjectManager {
 public:
  FolderHost(std::shared_ptr<TemporaryFolder> folder, FolderProject opened)
      : folder_(std::move(folder)), project_(std::move(opened)) {}

  LabelStore& getLabelManager() override { return copy().getLabelManager(); }
  project::management::FileManager& getFileManager() override { return copy().getFileManager(); }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override { return project_.metadata(); }

  // For a change, which the next copy will hold.
  const FolderProject& project() { return copy_ = nullptr, project_; }

 private:
  WorkingCopy& copy() { return *(copy_ ? copy_ : copy_ = project_.workingCopy()); }

  const std::shared_ptr<TemporaryFolder> folder_;
  const FolderProject project_;
  std::shared_ptr<WorkingCopy> copy_;
};

// Whether the next commit of this process is refused. Each connection asks this when it commits.
std::atomic<bool> failsNext{false};

int refuseCommits(sqlite3* database, char**, const sqlite3_api_routines*) {
  sqlite3_commit_hook(
      database, [](void*) { return failsNext.exchange(false) ? 1 : 0; }, nullptr);
  return SQLITE_OK;
}

using namespace host_conformance;

Host makeHost() {
  const auto place = std::make_shared<TemporaryFolder>();
  const auto host = std::make_shared<FolderHost>(place, FolderProject::init(place->path.string()));
  const auto openAgain = [place] {
    return std::make_shared<FolderHost>(place, FolderProject::open(place->path.string()));
  };
  const auto adding = [host](bool isFolder) {
    return [host, isFolder](const Path& folder, const std::u16string& name) {
      if (fromBytes(toBytes(name)) != name) throw std::invalid_argument("no bytes make this name");
      const Path path(folder.text() + u"/" + name, true);
      isFolder ? void(std::filesystem::create_directory(toBytes(path.text())))
               : folder_host::write(toBytes(path.text()), "");
      return host->project(), path;
    };
  };
  const auto addLabel = [host](const std::u16string& category, bool isRemovable) {
    const LabelRecord label = host->project().labels().create(category, project::metadata::generateUUID());
    host->project().labels().setProtected(label.uuid, !isRemovable);
    return Label(project::management::CategoryIdentifier(label.categoryUUID),
                 project::management::LabelIdentifier(label.uuid, isRemovable ? 1 : 0));
  };
  const auto attach = [host](const Path& entry, const Label& label) {
    host->project().labels().attach(label.getUUID(), {host->project().locate(toBytes(entry.text()))},
                                    folder_host::MarkKind::entry);
  };
  const auto workingCopy = [host] { return std::shared_ptr<WorkingCopy>(host->project().workingCopy()); };
  const auto failNextCommit = [] { failsNext = true; };
  return {host, openAgain, adding(false), adding(true), addLabel, attach, workingCopy, true, true, failNextCommit};
}

}  // namespace

}  // namespace folder_host

int main(int argc, char** argv) {
  if (access("/dev/shm/.", W_OK) == 0)
    setenv("TMPDIR", "/dev/shm", 0);  // thousands of commits, none of which need last
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(folder_host::refuseCommits));
  testing::InitGoogleTest(&argc, argv);
  host_conformance::registerSuite("FolderHost", folder_host::makeHost);
  return RUN_ALL_TESTS();
}
