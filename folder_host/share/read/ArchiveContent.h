#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "folder_host/files/Descriptor.h"
#include "folder_host/share/read/CopyContent.h"

namespace folder_host {

// What a share can hold at most of what an archive says: expanded, in bytes, heads and padding included.
inline constexpr std::uint64_t ANY_AMOUNT = UINT64_MAX;

// A copy that is one file: a tar, as it is or compressed by gzip or zstd, or a zip, told by its first bytes. Nothing is
// unpacked. It may come from a stranger, and nothing of it is believed that a share would not have written:
// - Names are told as they stand, absolute ones and those with ".." among them; a hard link is `isOther`, like a
//   device.
// - ARCHIVE_UNREADABLE, at the entry: one that comes twice, that is sparse or encrypted, whose head takes more than
//   megabytes; an archive that is cut short, goes on behind its end, has a checksum in a tar's heads or of a zip's file
//   that does not hold, is compressed twice, or expands to more than `most`; of a zip also entries that are not one
//   behind the other, that its directory and its local heads describe in two ways, or that are compressed otherwise
//   than by deflate.
// - A tar in the format of pax, which no share makes, is told with its names composed, as its reader does.
// - What a zip's directory says counts: it is what those who unpack it go by.
// Memory is needed for the names of all entries; where that comes to a gigabyte, it is ARCHIVE_UNREADABLE.
// `named` is for messages. The file is read from its beginning, wherever it stands.
std::unique_ptr<CopyContent> openArchiveCopy(Descriptor file, std::string named, std::uint64_t most = ANY_AMOUNT);

// Of what a person names, by what it is: a folder, or an archive (see openArchiveCopy) that expands to no more than
// `most` bytes. Errors: ENTRY_UNREADABLE, ARCHIVE_UNREADABLE.
std::unique_ptr<CopyContent> openCopy(const std::string& named, std::uint64_t most = ANY_AMOUNT);

}  // namespace folder_host
