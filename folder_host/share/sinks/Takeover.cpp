#include "folder_host/share/sinks/Takeover.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

#include "folder_host/files/Path.h"
#include "folder_host/files/Times.h"

namespace folder_host {

namespace {

constexpr std::size_t PIECE = std::size_t{1} << 17U;

std::string lastOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// In all but the number of names and what a new one sets.
bool isSameFile(const EntryState& a, const EntryState& b) {
  return isSameButChanged(a.stamp, b.stamp) && a.device == b.device && a.mode == b.mode && a.owner == b.owner &&
         a.group == b.group;
}

// The system grants a lease for reading only where nobody has the file open for writing, nor mapped so. One that is
// broken meanwhile would end the program by its signal, so it gets one that counts for nothing.
bool mayBeWrittenTo(const Descriptor& file) {
  if (::fcntl(file.get(), F_SETSIG, SIGURG) != 0 || ::fcntl(file.get(), F_SETLEASE, F_RDLCK) != 0) return true;
  return ::fcntl(file.get(), F_SETLEASE, F_UNLCK) != 0;
}

// Read at positions: the one from which the file is copied stays where it is.
bool holdTheSame(const Descriptor& a, const Descriptor& b, std::string& buffer, const Sink::Told& told) {
  buffer.resize(2 * PIECE);
  char* other = buffer.data() + PIECE;
  for (std::uint64_t at = 0;;) {
    const std::size_t length = readAt(a, buffer.data(), PIECE, at);
    if (readAt(b, other, PIECE, at) != length || std::memcmp(buffer.data(), other, length) != 0) return false;
    if (length < PIECE) return true;
    at += length;
    told(0);
  }
}

}  // namespace

Stamp stampOf(const Entry& entry) { return {entry.id.inode, entry.size, entry.modified, entry.changed, entry.born}; }

Takeover::Takeover(const EarlierCopy* earlier, CopyNotes known, bool comparesContent, const WorkingCopy& project)
    : earlier_(earlier),
      known_(std::move(known)),
      comparesContent_(comparesContent),
      project_(project),
      noted_(project.listing().entries.size()) {}

bool Takeover::Taker::take(const OpenEntry& file, const Descriptor& folder, const std::string& name,
                           const Sink::Told& told) {
  if (!takeover_.takes() || file.hasChanged) return false;
  const auto seen = takeover_.earlier_->seen.find(std::string(file.path));
  if (seen == takeover_.earlier_->seen.end() || !isWanted(file, seen->second)) return false;
  try {
    const std::string path = parentOf(std::string(file.path));
    if (path != path_) {
      earlierFolder_ = openBeneath(takeover_.earlier_->folder, path.empty() ? "." : path, O_PATH | O_DIRECTORY);
      owner_ = stateIn(folder, "");
      path_ = path;
    }
    if (!link(file, seen->second, folder, name, told)) return false;
  } catch (const std::system_error&) {
    ::unlinkat(folder.get(), name.c_str(), 0);  // no other name can be there yet
    path_ = "/";
    return false;
  }
  told(file.entry.size);
  return true;
}

// By what was seen, before anything is opened.
bool Takeover::Taker::isWanted(const OpenEntry& file, const EntryState& seen) const {
  const bool looksSame = S_ISREG(seen.mode) && (seen.mode & 07777U) == file.permissions && seen.links == 1 &&
                         seen.stamp.size == file.entry.size && isSameTime(seen.stamp.modified, file.entry.modified);
  if (!looksSame || takeover_.comparesContent_) return looksSame;
  const auto known = takeover_.known_.find(file.path);
  return known && known->source == stampOf(file.entry) && known->copy == seen.stamp;
}

// All is asked of the file that is open, and then whether it is that one which got the name.
bool Takeover::Taker::link(const OpenEntry& file, const EntryState& seen, const Descriptor& folder,
                           const std::string& name, const Sink::Told& told) {
  const Descriptor earlier = openBeneath(earlierFolder_, name, O_RDONLY | O_NONBLOCK);
  const auto isAsSeen = [&] {
    const EntryState now = stateIn(earlier, "");
    return isSameFile(now, seen) && now.stamp == seen.stamp && now.links == 1;
  };
  if (seen.owner != owner_.owner || seen.group != owner_.group) return false;
  if (takeover_.comparesContent_ && !isAsSeen()) return false;  // else it is asked once, last
  if (::flistxattr(earlier.get(), nullptr, 0) != 0) return false;
  if (takeover_.comparesContent_ && !holdTheSame(file.opened, earlier, buffer_, told)) return false;
  if (mayBeWrittenTo(earlier) || !isAsSeen()) return false;
  if (::linkat(earlierFolder_.get(), name.c_str(), folder.get(), name.c_str(), 0) != 0) return false;
  const EntryState linked = stateIn(folder, name);
  if (isSameFile(linked, seen) && linked.links == 2) {
    takeover_.add(file, linked.stamp, true);
    return true;
  }
  check(::unlinkat(folder.get(), name.c_str(), 0));
  return false;
}

bool Takeover::note(const OpenEntry& file, const Descriptor& copy) {
  const EntryState state = stateIn(copy, "");
  if ((state.mode & 07777U) != file.permissions) return false;
  add(file, state.stamp, false);
  return true;
}

// A file that was changed at the very moment when the project was listed could be so once more without a sign of it: of
// that, only the copy is known.
void Takeover::add(const OpenEntry& file, const Stamp& copy, bool isTaken) {
  const Listing& listing = project_.listing();
  const bool isKnown = !file.hasChanged && isEarlier(file.entry.changed, listing.begun);
  noted_[static_cast<std::size_t>(&file.entry - listing.entries.data())] = {copy, true, isKnown, isTaken};
}

void Takeover::forget(const std::string& path) {
  if (const auto index = project_.table().find(path)) noted_[*index].isSourceKnown = false;
}

std::string Takeover::pathOf(std::size_t index) const {
  return std::string(project_.pathInCopy(project_.table()[index].path));
}

std::size_t Takeover::count() const {
  return static_cast<std::size_t>(
      std::count_if(noted_.begin(), noted_.end(), [](const auto& one) { return one.isTaken; }));
}

FolderState Takeover::expected() const {
  FolderState state = earlier_->seen;
  for (std::size_t i = 0; i < noted_.size(); ++i) {
    if (noted_[i].isTaken) state[pathOf(i)].stamp = noted_[i].copy;
  }
  return state;
}

void Takeover::writeNotes(const Descriptor& storeFolder, const std::string& destination) const {
  const auto count = std::count_if(noted_.begin(), noted_.end(), [](const auto& one) { return one.isThere; });
  writeCopyNotes(storeFolder, destination, static_cast<std::size_t>(count), [&](const NoteFile& note) {
    for (std::size_t i = 0; i < noted_.size(); ++i) {
      const Noted& one = noted_[i];
      const Entry& entry = project_.table()[i];
      if (one.isThere) {
        note(project_.pathInCopy(entry.path), {one.isSourceKnown ? stampOf(entry) : Stamp(), one.copy});
      }
    }
  });
}

// A name that goes sets the time of change once more. So each file is looked at just before and after: what somebody
// wrote to it in between is the one thing that would be taken for ours.
void Takeover::release(const Descriptor& copy) {
  std::string path = "/";
  Descriptor earlierFolder, newFolder;
  for (std::size_t i = 0; i < noted_.size(); ++i) {
    if (!noted_[i].isTaken) continue;
    const std::string file = pathOf(i), name = lastOf(file);
    Stamp& stamp = noted_[i].copy;
    try {
      if (parentOf(file) != path) {
        const std::string folder = parentOf(file).empty() ? "." : parentOf(file);
        earlierFolder = openBeneath(earlier_->folder, folder, O_RDONLY | O_DIRECTORY);
        newFolder = openBeneath(copy, folder, O_PATH | O_DIRECTORY);
        check(::fchmod(earlierFolder.get(), 0700));
        path = parentOf(file);
      }
      const EntryState before = stateIn(newFolder, name);
      check(::unlinkat(earlierFolder.get(), name.c_str(), 0));
      const EntryState after = stateIn(newFolder, name);
      const bool isOurs = before.stamp == stamp && before.links == 2 && isSameFile(before, after) && after.links == 1;
      if (isOurs) stamp = after.stamp;
    } catch (const std::system_error&) {  // the note is not true any more, which costs a copy
      path = "/";
    }
  }
}

}  // namespace folder_host
