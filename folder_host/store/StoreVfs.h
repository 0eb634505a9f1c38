#pragma once

#include <sqlite3.h>

#include <string>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// All that SQLite may do on disk for one store: read and write that file and its rollback journal, and delete the
// journal, where the journal is a regular file with no other name. What else it is made to ask for is refused before it
// is touched: a journal that would have another file rolled back or deleted, a file in WAL mode, a pipe or a device,
// which would not answer, temporary files. The connection is given its name, and must not outlive it. Used by one
// thread at a time.
//
// The store's folder is opened once: whatever has the folder's name later is not asked for anything.
class StoreVfs {
 public:
  // Errors: std::system_error where there is no such folder, or it is a link.
  explicit StoreVfs(const std::string& file);
  ~StoreVfs();
  StoreVfs(const StoreVfs&) = delete;
  StoreVfs& operator=(const StoreVfs&) = delete;

  const char* name() const noexcept { return vfs_.zName; }
  // The path by which the connection opens the store.
  const std::string& file() const noexcept { return file_; }
  const Descriptor& folder() const noexcept { return folder_; }

  // Gives the store's file the time of now, as far as that can be done.
  void touch() const noexcept;

  // Why something was refused last and what to do about it, in words that follow the store's name; null where nothing
  // was refused, or the system's own error says more.
  const char* refusal() const noexcept { return refusal_; }

 private:
  int refuse(const char* refusal, int code) noexcept;
  int openStore(sqlite3_file* file, int flags, int* given) noexcept;
  int open(const char* path, sqlite3_file* file, int flags, int* given) noexcept;
  int findJournal(bool& found) noexcept;
  int find(const char* path, bool& found) noexcept;
  int remove(const char* path, int durably) noexcept;

  sqlite3_vfs* const disk_;  // SQLite's own
  const Descriptor folder_;
  const std::string file_;
  const std::string journal_ = file_ + "-journal";
  const std::string log_ = file_ + "-wal";
  const std::string name_;
  const char* refusal_ = nullptr;
  sqlite3_vfs vfs_{};
};

}  // namespace folder_host
