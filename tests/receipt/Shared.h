#pragma once

#include <memory>
#include <string>
#include <vector>

#include "folder_host/Fixture.h"
#include "judgement/Judgement.h"
#include "receipt/KeptReceipts.h"
#include "words/Profiles.h"

namespace project_share {

// A judgement, and what it points into.
struct Judged {
  std::shared_ptr<folder_host::WorkingCopy> copy;
  std::shared_ptr<profiles::ExportProfile> profile;
  Judgement judgement;
};

// In `p` a project with a profile `public`, which holds back `drafts` by a/in; what it shares has a/out. All was
// written at one time.
class SharedProject : public folder_host::FolderTest {
 public:
  SharedProject();
  ~SharedProject() override;

 protected:
  // What is typed behind "project-share --quiet -C p", with blanks between the words; IN stands for the test's folder.
  void type(const std::string& words) const;
  folder_host::FolderProject project(const std::string& folder = "p") const {
    return folder_host::FolderProject::open(in(folder));
  }
  Judged judged(const std::string& profile = "public", const std::string& from = {},
                const std::string& folder = "p") const;
  // The names of files in the folder of the receipts, sorted.
  std::vector<std::string> kept() const { return tree("p/.project/receipts"); }
  // Sets the time of a file; seconds since 2001.
  void setTime(const std::string& file, int seconds, int nanoseconds = 0) const;
};

}  // namespace project_share
