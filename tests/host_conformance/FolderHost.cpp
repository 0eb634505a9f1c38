#include "FolderHost.h"

#include <stdexcept>
#include <utility>

#include "folder_host/text/Utf.h"

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

}  // namespace

using namespace host_conformance;

Host hostOf(const std::shared_ptr<TemporaryFolder>& place, FolderProject project,
            const std::function<FolderProject()>& open, const std::function<void()>& failNextCommit) {
  const auto host = std::make_shared<FolderHost>(place, std::move(project));
  const auto openAgain = [place, open] { return std::make_shared<FolderHost>(place, open()); };
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
  return {host, openAgain, adding(false), adding(true), addLabel, attach, workingCopy, true, true, failNextCommit};
}

}  // namespace folder_host
