#pragma once

#include <sqlite3.h>

#include <string>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// What SQLite is let to do on disk for one store: read and write that file and its rollback journal, where each is a
// file of its own, and delete the journal. All else is refused before it is touched: a journal that would have another
// file rolled back or deleted, a file of another journal mode, anything that only looks like a file and would not
// answer, temporary files. To be given by name to the connection, which it outlives. Used by one thread at a time.
//
// The store's folder is opened once: what has its name later is not asked for anything.
class StoreVfs {
 public:
  // Errors: std::system_error where there is no such folder, or it is a link.
  explicit StoreVfs(const std::string& file);
  ~StoreVfs();
  StoreVfs(const StoreVfs&) = delete;
  StoreVfs& operator=(const StoreVfs&) = delete;

  const char* name() const noexcept { return vfs_.zName; }
  // By which the connection opens the store.
  const std::string& file() const noexcept { return file_; }
  const Descriptor& folder() const noexcept { return folder_; }

  // What the store is that was refused last and what to do, to stand behind its name; null where nothing was refused
  // or the system's own error says more.
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
