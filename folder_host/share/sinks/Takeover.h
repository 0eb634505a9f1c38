#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "folder_host/share/CopyNotes.h"
#include "folder_host/share/EarlierCopy.h"
#include "folder_host/share/sinks/Sink.h"

namespace folder_host {

// As it was listed.
Stamp stampOf(const Entry& entry);

// Notes the files of a new copy as they are written; and where an earlier copy gives way to it, takes files over from
// there by a second name, in the place of writing them once more.
//
// A file is taken over only where the new one would be the same in all that a copy has: content, mode, owner, times. It
// has to be the very file that was seen when the earlier copy was looked at, without a second name, an access list or
// an extended attribute, and open for writing nowhere: whoever else can write to it by another name or an open file
// would write into the new copy. Nothing in the earlier copy is changed but the number of a file's names. Where
// anything differs, cannot be found out or is not permitted, the file is written as if there were no earlier copy. The
// content is the same where by the notes neither file has been changed since the one was made of the other; or, where
// it is compared, where it is when both are read.
class Takeover {
 public:
  // Used by one thread: takes files over one after the other, with the folder of the last one open.
  class Taker {
   public:
    explicit Taker(Takeover& takeover) : takeover_(takeover) {}
    // Whether the file has its name in the folder of the new copy now, which `told` is told of then. What `told` throws
    // passes, and what EntryReader would refuse is refused.
    bool take(const OpenEntry& file, const Descriptor& folder, const std::string& name, const Sink::Told& told);

   private:
    bool isWanted(const OpenEntry& file, const EntryState& seen) const;
    bool link(const OpenEntry& file, const EntryState& seen, const Descriptor& folder, const std::string& name,
              const Sink::Told& told);

    Takeover& takeover_;
    std::string path_ = "/";  // of the folder that is open; at first none
    Descriptor earlierFolder_;
    EntryState owner_;  // of what is made in the new folder
    std::string buffer_;
  };

  // `known` are the notes of the earlier copy. Without an earlier copy nothing is taken over. `listed` is when the
  // project was listed: a file that was changed at that moment could be so once more without a sign of it: only its
  // copy is noted. The earlier copy outlives this object.
  Takeover(const EarlierCopy* earlier, CopyNotes known, bool comparesContent, timespec listed)
      : earlier_(earlier), known_(std::move(known)), comparesContent_(comparesContent), listed_(listed) {}

  bool takes() const noexcept { return earlier_ != nullptr; }
  // Notes a file that was written, where it has the mode that it is to have; gives whether it has. May be called in
  // several threads.
  bool note(const OpenEntry& file, const Descriptor& copy);
  // The project's file was changed while it was read.
  void forget(const std::string& path);

  // The others are not called while files are taken over.
  std::size_t count() const noexcept { return taken_.size(); }
  // How the earlier copy looks if nobody but this object has touched it.
  FolderState expected() const;
  // Takes the earlier copy's names from what was taken over, when that copy is to be removed, and notes what these
  // files are then. `copy` is the new one's folder. What cannot be done is left.
  void release(const Descriptor& copy);
  const CopyNotes& notes() const noexcept { return notes_; }

 private:
  void add(const OpenEntry& file, const Stamp& copy, bool isTaken);

  const EarlierCopy* earlier_;
  const CopyNotes known_;
  const bool comparesContent_;
  const timespec listed_;
  std::mutex mutex_;  // of the next two
  CopyNotes notes_;
  std::map<std::string, Stamp> taken_;  // with both names
};

}  // namespace folder_host
