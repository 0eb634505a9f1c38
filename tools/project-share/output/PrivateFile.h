#pragma once

#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Place.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/WorkingCopy.h"

namespace project_share {

// A file that tells what is held back, and that nobody but its owner may read at any time. It is put together beside
// its place and gets its name when it is whole; until then it is removed when this object ends. Everything here fails
// with std::system_error.
class PrivateFile {
 public:
  // Also removes what killed processes left there.
  explicit PrivateFile(folder_host::Place place);
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  // Writes much at once.
  void put(std::string_view text);
  // All of it was put; it is durable when this returns.
  void finish();
  // After finish(). EEXIST where the name is taken: nothing is replaced.
  void publish();
  // After finish(). EEXIST where the name is no longer that of `replaced`.
  void replace(const folder_host::FileId& replaced);

 private:
  void flush();

  folder_host::Place place_;
  folder_host::Publication staging_;
  folder_host::Descriptor file_;
  std::string buffer_;
};

// Whether a later share could hand out what lies there: the place is in the project, or in another one or a copy.
bool canBeHandedOut(const folder_host::Place& place, const folder_host::WorkingCopy& project);

}  // namespace project_share
