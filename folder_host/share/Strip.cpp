#include "folder_host/share/Strip.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "project/sharing/SerializationData.h"

namespace folder_host {

namespace {

// The copy, for a transformation, with a note of what has changed since a manager was asked for last. A turn ends where
// the next one begins: so it is told from the states before and after, whatever calls made the difference.
class Recording final : public project::management::ProjectManager {
 public:
  explicit Recording(std::shared_ptr<WorkingCopy> copy) : copy_(std::move(copy)) {}

  project::management::LabelManager& getLabelManager() override {
    begin(Turn::Of::labels);
    return copy_->getLabelManager();
  }
  project::management::FileManager& getFileManager() override {
    begin(Turn::Of::files);
    return copy_->getFileManager();
  }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override {
    return copy_->getMetadataManager();
  }

  std::vector<Turn> finish() {
    end();
    return std::move(turns_);
  }

 private:
  void begin(Turn::Of of) {
    end();
    turns_.push_back({of, {}, {}});
    heldBack_ = copy_->heldBack();
    labels_ = labels();
  }

  void end() {
    if (turns_.empty()) return;
    Turn& turn = turns_.back();
    const Selection& now = copy_->heldBack();
    for (std::size_t i = 0; i < now.size(); ++i) {
      if (now[i] && !heldBack_[i]) turn.heldBack.push_back(i);
    }
    const std::vector<std::u16string> left = labels();
    std::set_difference(labels_.begin(), labels_.end(), left.begin(), left.end(),
                        std::back_inserter(turn.labelsRemoved));
  }

  // The list is compared in the place of watching the calls: a filter that removes a category removes its labels, too.
  std::vector<std::u16string> labels() const {
    std::vector<std::u16string> uuids;
    for (LabelRecord& label : copy_->labels().list()) uuids.push_back(std::move(label.uuid));
    std::sort(uuids.begin(), uuids.end());
    return uuids;
  }

  std::shared_ptr<WorkingCopy> copy_;
  std::vector<Turn> turns_;
  Selection heldBack_;                  // when the last turn began
  std::vector<std::u16string> labels_;  // likewise, sorted
};

}  // namespace

Stripped strip(const std::shared_ptr<WorkingCopy>& copy,
               const project::sharing::TransformationHierarchy& transformation) {
  const auto recording = std::make_shared<Recording>(copy);
  project::sharing::SerializationData data;
  data.projectPath = copy->getFileManager().getRootFolder();
  data.projectManagers.emplace(data.projectPath, recording);
  transformation.apply(data);
  // The host's rules come last: where a link leads, and what a folder holds, is known when all filters have had their
  // turns.
  return {recording->finish(), copy->applyHostRules()};
}

}  // namespace folder_host
