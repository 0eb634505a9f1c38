#pragma once

#include <sys/stat.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/share/Shape.h"
#include "folder_host/share/read/CopyContent.h"
#include "folder_host/share/sinks/Sink.h"

struct archive;
struct archive_entry;

namespace folder_host {

// Writes an archive into an open file or pipe. The same entries give the same bytes, whoever writes them, wherever and
// whenever, with the same libraries: each entry has its mode and its time in whole seconds (see timeIn), owners stay
// behind, and the copy's store has the newest time of all. Entries come in the order of a tree, so that whoever unpacks
// is done with a folder before he gives it its mode. Holes are written out.
//
// An archive that was not finished has no end, so that nobody takes it for a whole one. A file of which more or less
// can be read than its head in the archive says is refused with ENTRY_CHANGED, even where it may change, for no head
// can be taken back; what a file grows by meanwhile is left out where it may change.
class ArchiveSink final : public Sink {
 public:
  // The file outlives the sink. `shape` is no folder. Entries have to come in the order of beforeInTree, folders apart.
  // Where it `notes` them, content() tells them with their digests.
  ArchiveSink(const Descriptor& file, Shape shape, bool notes = false);
  ~ArchiveSink() override;

  void addFolder(const OpenEntry& folder) override;
  std::unique_ptr<Sink::Writer> writer() override;
  bool takesSeveralWriters() const noexcept override { return false; }
  void addStore(const std::string& bytes) override;
  void finish() override;
  // To be asked for once, when it is finished.
  std::unique_ptr<CopyContent> content();

 private:
  class Writer;
  class Surroundings;
  struct Folder {
    std::string path;
    mode_t mode;
    timespec time;
  };
  struct Free {
    void operator()(archive* archive) const;
    void operator()(archive_entry* entry) const;
  };

  void check(int result, const std::string& path);
  void putHead(const std::string& path, mode_t mode, std::uint64_t size, const timespec& time,
               const std::string& target = {});
  void putData(const char* bytes, std::size_t size, const std::string& path);
  void putFoldersBefore(const std::string& path);
  void putFolder(const Folder& folder);
  void note(const std::string& path, mode_t mode, std::uint64_t size, const timespec& time, const std::string& target);
  void noteDigest();

  const Descriptor& file_;
  const Shape shape_;
  std::unique_ptr<Surroundings> surroundings_;
  std::unique_ptr<archive_entry, Free> head_;
  std::vector<Folder> folders_;
  std::size_t nextFolder_ = 0;  // the first that is not yet written
  mode_t topMode_ = 0;
  timespec newest_{};
  const bool notes_;
  std::vector<CopyEntry> noted_;
  std::optional<Sha256> digest_;  // of the file that is being written
  std::exception_ptr failure_;    // of the last write
  std::unique_ptr<archive, Free> archive_;
};

}  // namespace folder_host
