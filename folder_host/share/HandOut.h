#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Place.h"
#include "folder_host/share/Allowances.h"
#include "folder_host/share/Shape.h"
#include "folder_host/share/TreeCopy.h"
#include "folder_host/share/WorkingCopy.h"
#include "folder_host/share/read/CopyContent.h"

namespace folder_host {

// How much of a copy is written; what was counted when the project was listed is the whole.
struct Progress {
  std::size_t entries = 0;
  std::size_t allEntries = 0;
  std::uint64_t bytes = 0;
  std::uint64_t allBytes = 0;
};

struct HandedOut {
  std::size_t files = 0;
  std::size_t folders = 0;
  std::size_t links = 0;
  std::uint64_t bytes = 0;
  // What the copy has got, by index: of each entry of WorkingCopy::entries().
  std::vector<Written> written;
  // The copy's own store; without one, the digest is empty.
  struct {
    std::uint64_t size = 0;
    std::string sha256;
  } store;
  std::vector<std::string> changed;  // files and links that did so after they were listed, in the order of the listing
};

struct HandOutOptions {
  Shape shape = Shape::folder;
  bool isPlain = false;       // without a store of its own: the copy is no project then
  bool hashesStream = false;  // files are hashed as they are written into a stream (handOutTo)
  // ENTRY_CHANGED: a file that changes after it was listed is shared as it is read. NESTED_PROJECT: a file is shared
  // that by its first bytes is a store, a receipt or an export.
  Allowances allowed;
  // Called often. What it throws stops the hand-out.
  std::function<void(const Progress&)> onProgress;
  // Called with what was written, whole and durable, and with all that is to be told of it, before it gets its name. Of
  // what went into a stream, nothing can be read again: null, or its digests where they were asked for. What it throws
  // stops the hand-out.
  std::function<void(CopyContent* written, const HandedOut&)> beforePublication;
};

// Refuses what can be no destination of this project, before any work is done, and gives its place. Errors:
// DESTINATION_EXISTS (also as a dangling link), DESTINATION_IN_PROJECT (by any name of any folder that was listed),
// DESTINATION_UNUSABLE (the folder that would hold it is not there).
Place checkDestination(const WorkingCopy& copy, const std::string& destination);

// Writes what the copy shares to the place, which is free or holds the complete copy afterwards, whatever interrupts
// it; what killed processes left beside it is cleaned up. It knows no rule: what is shared, and whether anything speaks
// against it, has been judged (strip, risksAmong, Traces, Twins). It reads what is shared from the project's folder and
// nothing else, and refuses what is no longer what was listed. The copy is that of the scope, and opens as a project of
// its own, unless it is plain; an archive does so once it is unpacked, and has the mode of any new file.
// Errors: NAME_UNFIT (before anything is written), DESTINATION_EXISTS (taken meanwhile), those of EntryReader,
// COPY_FAILED, and what the functions of the options throw.
HandedOut handOut(const WorkingCopy& copy, const Place& place, const HandOutOptions& options = {});

// Refuses a stream that is a terminal, or leads into a file of the project itself. Errors: DESTINATION_IN_PROJECT,
// DESTINATION_UNUSABLE.
void checkStream(const WorkingCopy& copy, const Descriptor& stream);

// Likewise into what is open, such as a pipe. What was written when it fails cannot be taken back; it has no end then,
// by which it is known. The stream is what beforePublication is called with, when all is written. `options.shape` is no
// folder.
HandedOut handOutTo(const Descriptor& stream, const WorkingCopy& copy, const HandOutOptions& options);

}  // namespace folder_host
