#pragma once

#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// Puts something together in a folder of its own, the staging folder, before it gets its name: a copy, a receipt, a
// project's store. Whoever looks finds it whole or not at all. The staging folder lies in the folder that is to hold
// the result, so that one rename is enough, and nobody but its owner may look into it (0700). When this object is
// destroyed, the staging folder is removed with all that it holds, unless it got its name. Everything here fails with
// std::system_error.
//
// A process that is killed leaves its staging folder, `.project-share-UUID`, to be removed by the next one
// (removeAbandoned), which must touch neither what another process is at work on nor what is a person's own. So beside
// it lies a file, `.project-share-UUID.lock`, which is made before the folder and removed after it:
// - As long as its process lives, the file is locked (flock). Whoever gets the lock finds something abandoned.
// - It says what it is for, and names the folder: no other file is taken for it, whatever its name.
// - It says which folder that is, by device and inode: one that got that name later is another one, and stays.
//
// Nothing that is there is ever replaced, but for the one file that replaceFile is told of and the one folder that
// exchange is told of. Some file systems know no rename that refuses to replace; there, something empty is first made
// under the name, which fails where the name is taken, and the rename replaces that. A process that is killed between
// the two leaves it: nobody can tell it from a person's own.
class Publication {
 public:
  // Makes the staging folder in `parent`, which has to outlive this object.
  explicit Publication(const Descriptor& parent);
  ~Publication();
  Publication(const Publication&) = delete;
  Publication& operator=(const Publication&) = delete;

  // The staging folder, under whatever name.
  const Descriptor& content() const noexcept { return folder_; }

  // Makes all that was written to its file system durable.
  void syncContent() const;

  // Gives the staging folder the name `name`, durably. Where there is something of that name: EEXIST. A name that could
  // not be made durable is taken back.
  void publish(const std::string& name);
  // The same, but an empty folder of that name gives way.
  void publishOverEmpty(const std::string& name);

  // Whether the file system exchanges two folders in one step. Asked of it by trying.
  bool exchangesAtOnce() const;
  // Gives the staging folder the name, durably, of the folder `earlier`, which looks as `digest` says (FolderState.h);
  // that one is then called earlierName(). EEXIST where another one has the name, and what is there stays. Where the
  // file system does not exchange, `atOnce` is false: then nothing has the name between two renames, and whoever is
  // killed there leaves the earlier folder as `.project-share-UUID.old`, to be put back by the next one.
  // One of the next four is to be called then; whoever is killed before leaves the earlier folder to the next one,
  // which removes it as long as it looks so, and else keeps it under a name of its own.
  void exchange(const std::string& name, const FileId& earlier, const std::string& digest, bool atOnce);
  // Takes the exchange back: the staging folder is removed with this object, unless it is kept.
  void giveBack();
  // Gives the staging folder the first free one of NAME.old, NAME.old-2 ... for good, and tells which.
  std::string keepStaging(const std::string& name);
  // Gives the earlier folder the first free one of NAME.old, NAME.old-2 ... for good, and tells which.
  std::string keepEarlier();
  // Whoever finds the earlier folder may remove it from here on. `earlier` is that folder.
  void giveUpEarlier(const Descriptor& earlier);
  // Removes it with all that it holds, after giveUpEarlier. Where this fails, the next one does it.
  void removeEarlier(const Descriptor& earlier);
  // Empty where there is no earlier folder to be dealt with.
  const std::string& earlierName() const noexcept { return earlierName_; }

  // Gives the name to the file `file` in the staging folder instead. All else as above.
  void publishFile(const std::string& file, const std::string& name);

  // Gives it to the file in the place of the one that has the name, as long as that is still `replaced`; else EEXIST,
  // and what is there stays.
  void replaceFile(const std::string& file, const std::string& name, const FileId& replaced);

  // Takes the name of the staging folder back, as far as that can be done: it is removed with this object then.
  void takeBack();

  // Removes what killed processes left in `parent`, as far as that can be done. Gives the names of earlier folders that
  // are kept there because somebody wrote to them.
  static std::vector<std::string> removeAbandoned(const Descriptor& parent);

 private:
  struct Lock {
    std::string name;  // of the staging folder
    Descriptor file;
  };

  Publication(const Descriptor& parent, Lock lock);
  static Lock makeLock(const Descriptor& parent);
  void nameFolder(const std::string& name, bool replaces);
  void swapInTwoSteps(const std::string& name, const FileId& earlier);
  void replaceOwn(const std::string& file, const std::string& name);

  const Descriptor& parent_;
  Lock lock_;
  Descriptor folder_;
  bool refusesToReplace_ = true;   // a rename on this file system, when it is asked to
  std::string published_;          // the name that the staging folder got
  std::optional<mode_t> emptied_;  // of the empty folder that gave way
  std::string earlierName_;
};

}  // namespace folder_host
