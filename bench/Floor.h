#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "Shape.h"
#include "project/management/ProjectManager.h"

namespace bench {

// The calls that a filter has to make over a project, worked out beforehand: call() makes them and nothing else. The
// path functions among them are asked once for each file that stays and once for each folder above such files.
class Floor {
 public:
  Floor(std::u16string kind, const plain::Items& items, project::management::ProjectManager& project);
  ~Floor();

  void call();

  // How many results and folders `apply` cannot do without.
  std::size_t removals() const { return files_.size() + labels_.size(); }
  std::size_t folders() const { return folders_; }

 private:
  struct Step {
    unsigned labels = 0;  // that are looked at
    bool stays = false;
    unsigned questions = 0;  // on the way up
  };

  void planFiles(const plain::Items& items);
  void planLabels(const plain::Items& items);
  void callForFiles();
  void callForLabels();
  void look(const project::management::Label& label);
  void walk(const std::u16string& text, unsigned questions);

  std::u16string kind_;
  bool ofFiles_;
  project::management::ProjectManager& project_;
  std::vector<Step> steps_;
  std::vector<fl::filesystem::path> files_;
  std::vector<project::management::Label> labels_;
  std::size_t folders_ = 0;
  volatile std::size_t seen_ = 0;  // keeps the compiler from leaving an answer out
};

}  // namespace bench
