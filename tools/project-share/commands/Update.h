#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "folder_host/FolderProject.h"
#include "folder_host/share/HandOut.h"
#include "judgement/Risk.h"
#include "output/Json.h"
#include "receipt/EarlierShare.h"

namespace project_share {

// The copy that `share --update` is given, from the first look at it to the report.
class Update {
 public:
  // Looks at the copy and holds it against its receipt. Errors: those of earlierCopyAt and earlierShareOf;
  // COPY_DIFFERS, with the differences printed, unless the words say that it is to be replaced all the same. `profile`
  // is the UUID; empty: the whole project. The copy and the words outlive this object.
  Update(const folder_host::FolderProject& project, const folder_host::WorkingCopy& copy, const std::string& profile,
         const ShareWords& words);

  const folder_host::Place& place() const noexcept { return earlier_.place; }
  // What it throws where two steps are needed is SHARE_REFUSED.
  void setOptions(folder_host::HandOutOptions& options) const;
  // What killed updates left beside it that somebody wrote to, under which names.
  const std::vector<std::string>& keptBefore() const noexcept { return keptBefore_; }
  // Somebody wrote to the copy while it was updated: looks once more, and keeps it. `kept` are the copies that have
  // been kept so far.
  void keepInstead(const std::vector<std::string>& kept);

  // Prints what was added, changed and taken back, and gives it as numbers for a program, and as a sentence.
  std::string report(const folder_host::WorkingCopy& shared, const folder_host::HandedOut& result, Json& object) const;

 private:
  const folder_host::WorkingCopy& copy_;
  const ShareWords& words_;
  std::vector<std::string> keptBefore_;
  folder_host::EarlierCopy earlier_;
  EarlierShare share_;
  bool keeps_ = false;
};

// Of copies that were kept, by this update or by one that was killed.
std::vector<Risk> notesOfKept(const folder_host::Place& place, const folder_host::HandedOut& result);

}  // namespace project_share
