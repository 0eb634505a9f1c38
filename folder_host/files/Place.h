#pragma once

#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace folder_host {

// Where something is or will be: a name in a folder that is there.
struct Place {
  Descriptor parent;
  std::string parentPath;  // without links in it
  std::string name;
  bool mayGiveWay = false;  // something was there when it was looked at that a copy may replace (givesWay)

  std::string path() const;
};

// The place that a person names; slashes and "/." at the end count for nothing, and no link at the end is followed.
// Errors: std::system_error where there is no folder to hold it.
Place placeOf(const std::string& named);

// Whether something is there; a link is, wherever it leads. Errors: std::system_error.
bool isTaken(const Place& place);

// Whether a folder is there that gives way to a copy: an empty one of the caller's own, which is no mount point and not
// the working directory. Errors: std::system_error.
bool givesWay(const Place& place);

// Whether the place lies in one of these folders, at any depth. They are sorted, and known by their identity, as a
// folder can have several names. Errors: std::system_error.
bool liesIn(const Place& place, const std::vector<FileId>& folders);

// Whether what a person names is this place, at which nothing is yet, or lies below it. Names that differ in case alone
// count as one: on some disks they are.
bool isWithin(const std::string& named, const Place& place);

}  // namespace folder_host
