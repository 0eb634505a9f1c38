#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/files/Listing.h"
#include "folder_host/share/CopyQueue.h"
#include "folder_host/share/read/Source.h"
#include "folder_host/share/sinks/Sink.h"

namespace folder_host {

// Told, in the thread that copies, how many entries and bytes are written so far; often. What it throws stops the
// copying.
using CopyProgress = std::function<void(std::size_t, std::uint64_t)>;

// Reads the entries, a folder standing before what lies in it, as they were listed (see EntryReader), and writes them
// into the sink, below the source's top. Gives the paths of what was copied and
// changed meanwhile, where that is allowed, in the order of the listing. Of several errors the one of the first entry
// is thrown: those of EntryReader and Sink.
//
// In `written`, where that is given, each entry gets what was written of it, by its index.
//
// Where there is much to copy and the sink takes it, a second thread helps: it copies files and links, calls nothing
// that was not given here, is asked to handle no signal, and has ended when this returns or throws. Where none can be
// had, one does it all.
std::vector<std::string> copyTree(const Source& source, const std::vector<const Entry*>& entries, Sink& sink,
                                  const CopyProgress& onProgress, std::vector<Written>* written = nullptr);

}  // namespace folder_host
