#pragma once

#include <string>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// A private folder (0700) in which something is put together before it gets its name beside it: a copy, a receipt, a
// project's store. Until then it goes with all that it holds when this object goes. Everything here fails with
// std::system_error.
//
// Beside the folder lies a file of its name and ".lock", which this process holds locked and which says what it is for,
// and which folder that is: by it what a killed process left is told from what is in use, and from what is somebody's
// own, whoever gave that the folder's name.
//
// Nothing that is there is ever replaced, also where the file system has no rename that refuses to: then the name is
// first made and is something of its own, empty. A process that is killed just then leaves that.
class StagingFolder {
 public:
  // Makes one in the folder `parent`, which has to outlive this object.
  explicit StagingFolder(const Descriptor& parent);
  ~StagingFolder();
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;

  const Descriptor& content() const noexcept { return folder_; }

  // Makes all that was written to the file system durable, as far down as there are folders.
  void syncContent() const;

  // Gives the folder the name `name`, durably. Where there is something of that name: EEXIST. A name that could not be
  // made durable is taken back.
  void publish(const std::string& name);
  // The same, but an empty folder of that name gives way.
  void publishOverEmpty(const std::string& name);
  // Gives the name to the file `file` of the folder instead. A name that could not be made durable stays.
  void publishFile(const std::string& file, const std::string& name);

  // Takes back the name that the folder got.
  void takeBack();

  // Removes what killed processes left in the folder, as far as that can be done; what is in use or not evidently
  // theirs stays.
  static void removeAbandoned(const Descriptor& parent);

 private:
  struct Lock {
    std::string name;  // of the folder that it stands for
    Descriptor file;
  };

  StagingFolder(const Descriptor& parent, Lock lock);
  static Lock makeLock(const Descriptor& parent);
  static void removeBehind(const Descriptor& parent, const std::string& name);
  void nameFolder(const std::string& name, bool replaces);
  void replaceOwn(const std::string& file, const std::string& name);

  const Descriptor& parent_;
  Lock lock_;
  Descriptor folder_;
  bool refusesToReplace_ = true;  // a rename, where it is asked to
  std::string published_;         // the name that the folder got
};

}  // namespace folder_host
