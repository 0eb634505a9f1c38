#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Place.h"
#include "folder_host/share/Allowances.h"
#include "folder_host/share/EarlierCopy.h"
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
  std::size_t takenOver = 0;         // of the files, from the earlier copy
  // The name beside the place under which the earlier copy is kept, because that was wanted or because somebody wrote
  // to it since it was looked at; empty where it was removed.
  std::string kept;
  // Somebody wrote to it, and files were taken over from it: the exchange was taken back, and the earlier copy is at
  // the place as it is now. To be handed out once more, with keepsEarlier and another look.
  bool isTakenBack = false;
  std::vector<std::string> keptBefore;  // the same of earlier updates that were killed
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
  // The project's own (FolderProject::storeFolder): there it is noted what was read and written, so that an update can
  // take files over. None: nothing is noted, and without notes nothing is taken over but by its content.
  const Descriptor* storeFolder = nullptr;

  // The copy that is at the place and gives way, exchanged for the new one in one step; it outlives the hand-out.
  const EarlierCopy* earlier = nullptr;
  // Nothing is taken over from it, and it is kept under another name.
  bool keepsEarlier = false;
  // What may be taken over is read and compared.
  bool comparesContent = false;
  // Called before anything is copied where the file system cannot exchange two folders in one step: for a moment
  // nothing is at the place then. What it throws stops the hand-out.
  std::function<void()> beforeTwoSteps;
};

// Refuses what can be no destination of this project, before any work is done, and gives its place. An empty folder may
// give way (see givesWay). Errors: DESTINATION_EXISTS (also as a dangling link), DESTINATION_IN_PROJECT (by any name of
// any folder that was listed), DESTINATION_UNUSABLE (the folder that would hold it is not there).
Place checkDestination(const WorkingCopy& copy, const std::string& destination);

// Writes what the copy shares to the place, which is as before or holds the complete copy afterwards, whatever
// interrupts it; before, it is free, an empty folder that gives way, or the earlier copy of the options. What killed
// processes left beside it is cleaned up. It knows no rule: what is shared, and whether anything speaks
// against it, has been judged (strip, risksAmong, Traces, Twins). It reads what is shared from the project's folder and
// nothing else, and refuses what is no longer what was listed. The copy is that of the scope, and opens as a project of
// its own, unless it is plain; an archive does so once it is unpacked, and has the mode of any new file.
// Errors: NAME_UNFIT (before anything is written), DESTINATION_EXISTS (taken meanwhile, or the earlier copy is not
// there any more), those of EntryReader, COPY_FAILED, and what the functions of the options throw.
HandedOut handOut(const WorkingCopy& copy, const Place& place, const HandOutOptions& options = {});

// Refuses a stream that is a terminal, or leads into a file of the project itself. Errors: DESTINATION_IN_PROJECT,
// DESTINATION_UNUSABLE.
void checkStream(const WorkingCopy& copy, const Descriptor& stream);

// Likewise into what is open, such as a pipe. What was written when it fails cannot be taken back; it has no end then,
// by which it is known. The stream is what beforePublication is called with, when all is written. `options.shape` is no
// folder.
HandedOut handOutTo(const Descriptor& stream, const WorkingCopy& copy, const HandOutOptions& options);

}  // namespace folder_host
