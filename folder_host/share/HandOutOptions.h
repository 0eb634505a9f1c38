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

}  // namespace folder_host
