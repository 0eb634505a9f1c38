#pragma once

#include <string>

#include "folder_host/files/Place.h"
#include "folder_host/share/HandOutOptions.h"
#include "folder_host/share/WorkingCopy.h"

namespace folder_host {

// Refuses what can be no destination of this project, before any work is done, and gives its place. An empty folder may
// give way to a folder (see givesWay). Errors: DESTINATION_EXISTS (also as a dangling link), DESTINATION_IN_PROJECT (by
// any name of any folder that was listed), DESTINATION_UNUSABLE (the folder that would hold it is not there).
Place checkDestination(const WorkingCopy& copy, const std::string& destination, Shape shape = Shape::folder);

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
