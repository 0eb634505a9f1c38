#pragma once

#include <string>

#include "folder_host/files/Listing.h"
#include "folder_host/text/Printable.h"

namespace project_share {

// Names are given as they are; in a sentence they are quoted, in lists they stand free where they can.
using folder_host::freeName;
using folder_host::inQuotes;

// A folder's ends with a slash.
std::string nameOf(const folder_host::Entry& entry);

}  // namespace project_share
