#pragma once

#include <cstddef>
#include <string>
#include <vector>

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

  // `known` are the notes of the earlier copy; without an earlier copy nothing is taken over. The files are entries of
  // the project that is handed out. It and the earlier copy outlive this object.
  Takeover(const EarlierCopy* earlier, CopyNotes known, bool comparesContent, const WorkingCopy& project);

  bool takes() const noexcept { return earlier_ != nullptr; }
  // Notes a file that was written, where it has the mode that it is to have; gives whether it has. May be called in
  // several threads, as files may be taken over in several: each for files of its own.
  bool note(const OpenEntry& file, const Descriptor& copy);
  // The project's file of that path was changed while it was read.
  void forget(const std::string& path);

  // The others are not called while files are taken over.
  std::size_t count() const;
  // How the earlier copy looks if nobody but this object has touched it.
  FolderState expected() const;
  // Takes the earlier copy's names from what was taken over, when that copy is to be removed, and notes what these
  // files are then. `copy` is the new one's folder. What cannot be done is left.
  void release(const Descriptor& copy);
  // Writes what is noted: see writeCopyNotes.
  void writeNotes(const Descriptor& storeFolder, const std::string& destination) const;

 private:
  struct Noted {
    Stamp copy;  // of one that was taken over: with both names
    bool isThere = false;
    bool isSourceKnown = false;
    bool isTaken = false;
  };

  void add(const OpenEntry& file, const Stamp& copy, bool isTaken);
  std::string pathOf(std::size_t index) const;  // in the copy

  const EarlierCopy* earlier_;
  const CopyNotes known_;
  const bool comparesContent_;
  const WorkingCopy& project_;
  std::vector<Noted> noted_;  // by the index of the entry in the project's listing
};

}  // namespace folder_host
