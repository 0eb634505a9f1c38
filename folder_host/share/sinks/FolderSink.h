#pragma once

#include <sys/stat.h>

#include <array>
#include <string>
#include <vector>

#include "folder_host/files/Publication.h"
#include "folder_host/share/sinks/Sink.h"
#include "folder_host/share/sinks/Takeover.h"

namespace folder_host {

// Writes into the folder of a publication: content, links, permissions (no set-id bits) and times; owners and extended
// attributes stay behind. Holes stay holes. Whoever can read the top folder can open the copy as a project.
class FolderSink final : public Sink {
 public:
  // The publication outlives the sink, and so does what takes files over, or notes them; there may be none.
  explicit FolderSink(const Publication& publication, Takeover* takeover = nullptr)
      : publication_(publication), takeover_(takeover) {}

  void addFolder(const OpenEntry& folder) override;
  std::unique_ptr<Writer> writer() override;
  bool takesSeveralWriters() const noexcept override { return true; }
  void addStore(const std::string& bytes) override;
  void finish() override;

 private:
  struct Folder {
    std::string path;
    mode_t mode;
    std::array<timespec, 2> times;
  };

  const Publication& publication_;
  Takeover* takeover_;
  std::vector<Folder> folders_;
};

}  // namespace folder_host
