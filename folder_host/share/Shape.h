#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/files/Listing.h"

namespace folder_host {

// What a copy is: a folder, or one file that holds the tree.
enum class Shape { folder, tar, tarGz, tarZst, zip };

// By the end of the name, whatever its case; one with a slash at its end is a folder.
Shape shapeOf(std::string_view destination);

// "folder", "tar", "tar.gz", "tar.zst", "zip".
const char* wordOf(Shape shape);

// What is left of a time in a copy of this shape: in an archive whole seconds, and the nearest time that its format
// holds, which for a tar begins with 1970 and for a zip ends in 2038, too.
timespec timeIn(Shape shape, const timespec& time);

// Whether a copy of this shape can hold these entries under their names from the folder `scope` on. A zip holds names
// in UTF-8 without backslashes, as its readers take these for slashes. Error: NAME_UNFIT.
void requireFit(Shape shape, const std::vector<const Entry*>& entries, const std::string& scope);

}  // namespace folder_host
