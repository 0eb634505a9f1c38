#pragma once

#include <string>

#include "folder_host/Descriptor.h"

namespace folder_host {

// A private folder (0700) in which something is put together before it gets its name. Until then it goes with all that
// it holds when this object goes. Everything here fails with std::system_error.
class StagingFolder {
 public:
  // Makes one in the folder `parent`, which is at `parentPath`, under a name that begins with `prefix`.
  StagingFolder(Descriptor parent, const std::string& parentPath, const std::string& prefix);
  ~StagingFolder();
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;

  const Descriptor& descriptor() const noexcept { return folder_; }
  const std::string& path() const noexcept { return path_; }

  // Makes all that was written to the file system durable, as far down as there are folders.
  void syncContent() const;

  // Gives the folder the name `name` beside it, durably. Where there is something of that name: EEXIST. A name that
  // could not be made durable is taken back.
  void publish(const std::string& name);

 private:
  struct Made {};
  StagingFolder(Made made, Descriptor parent, const std::string& parentPath, const std::string& name);

  Descriptor parent_;
  std::string name_;
  std::string path_;
  Descriptor folder_;
  bool published_ = false;
};

}  // namespace folder_host
