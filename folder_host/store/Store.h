#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "folder_host/store/Mirror.h"
#include "folder_host/store/Scopes.h"
#include "folder_host/store/StoreFile.h"
#include "project/metadata/MetadataScopeGuard.h"

namespace folder_host {

// One connection to a project's store. Used by one thread at a time; several connections, in this or in other
// processes, may have the same file open. Every call may throw STORE_FAILED (STORE_UNREADABLE where the file turns out
// to be damaged).
//
// The outermost scope is a transaction, a write scope within a write scope a savepoint, a read scope within any other
// nothing of its own. A write scope is rolled back when it ends while an exception passes. A scope ends with its guard,
// but not before those that began later: it waits for the last of them. A transaction that cannot be committed then is
// rolled back, and the next call throws STORE_FAILED for it, once.
//
// A store may be the mirror of an origin, which several people edit. An outermost read scope then asks that for what is
// new, an outermost write scope holds all other editors off and is kept there before it is kept here; what is asked or
// changed outside of any scope has one of its own. What could not be kept there is told as a commit that failed.
//
// Of a store in a file, and of a mirror, each outermost write scope that changes something, or has a note, is an entry
// of the log (History), in its own transaction.
class Store : public std::enable_shared_from_this<Store>, private ScopeEvents {
 public:
  using Row = std::vector<std::string>;
  using Values = std::initializer_list<std::string_view>;

  // As openStoreFile.
  static std::shared_ptr<Store> open(const std::string& file,
                                     const std::function<void(const Descriptor&)>& checkFolder = nullptr);
  // An empty one that has no file.
  static std::shared_ptr<Store> inMemory();
  // One that has no file, as a whole update says. Error: STORE_UNREADABLE, the update does not fit together.
  static std::shared_ptr<Store> of(const Update& update);

  // With an origin, it is the mirror of that.
  explicit Store(StoreDatabase store, std::shared_ptr<Origin> origin = nullptr);
  ~Store() override;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // The same content, without the log, in a store that has no file.
  std::shared_ptr<Store> memoryCopy();
  // The bytes of a store file with the content of this one, which has no file and no open scope. No byte of what was
  // removed is in them.
  std::string image();

  // That of the store's file, as it was when the store was opened; null in memory.
  const Descriptor* folder() const noexcept { return vfs_ ? &vfs_->folder() : nullptr; }

  // All of it, with the log. In a scope of the caller's.
  Update whole();
  // The state that it is in; of a memory copy, the one that was copied.
  Position position();

  // Called whenever an outermost scope begins, when others are held off: what it throws keeps the scope from beginning.
  // Where the store is no longer the project's, nothing may be read or written.
  void setCheck(std::function<void()> check) { check_ = std::move(check); }
  // Of a mirror: outermost read scopes go by the first answer, and ask the origin again only after refresh. For whoever
  // asks much and works for a moment only.
  void setAsksOnce(bool asksOnce) { asksOnce_ = asksOnce; }
  void refresh() { isFresh_ = false; }
  // Of a mirror: the edits that were seen, and that its origin has not; and takes what it has all the same.
  std::vector<Edit> lost();
  void readAnew() { mirror_->readAnew(); }
  // Of a mirror, in its outermost write scope: this is the last edit that the origin keeps.
  void closeOrigin() { closesOrigin_ = true; }

  project::metadata::MetadataScopeGuard beginRead();
  // Errors: WRITE_IN_READ_SCOPE when the outermost scope is a read scope: it could not wait for other writers.
  project::metadata::MetadataScopeGuard beginWrite();

  // Throws the failure of a commit that nobody has been told of yet.
  void confirm();

  // Of the edits from now on; without it, the user and the machine as the system names them, and no words.
  void setAuthor(Author author) { author_ = std::move(author); }
  const Author& author() const noexcept { return author_; }
  // Of the outermost write scope, which is open; it goes with it.
  void note(EditNote note) { note_ = std::move(note); }
  // The number of the last entry that this object has made in the log; 0: none.
  std::int64_t lastEdit() const noexcept { return lastEdit_; }

  // Makes the changes of `edit` in a write scope of their own: all of them or, where it throws, none.
  template <class Edit>
  void atomically(const Edit& edit) {
    {
      const auto scope = beginWrite();
      edit();
    }
    confirm();
  }

  // The rows of a query, each column as bytes (numbers as their digits). The values are bound as blobs, in order.
  std::vector<Row> query(const char* sql, Values values = {});
  // The number of rows changed. Errors: WRITE_IN_READ_SCOPE, as beginWrite.
  std::size_t run(const char* sql, Values values = {});
  std::size_t run(const char* sql, const Row& values);
  // Whether its rows fit together (isSound).
  bool isSound();
  // Of a store that only this object writes to: as long as this is the same number, so is the content. None while there
  // are changes that may still be rolled back.
  std::optional<int> version() const noexcept;

 private:
  SQLite::Statement& prepared(const char* sql);
  template <class List>
  std::size_t change(const char* sql, const List& values);
  template <class List>
  std::size_t execute(const char* sql, const List& values);
  bool needsScope() const noexcept { return mirror_ && !scopes_.areOpen(); }
  void willBegin(bool write) override;
  void hasBegun(bool write) override;
  bool keepEdit(const Changes& changes) override;
  void hasEnded() noexcept override;

  std::unique_ptr<StoreVfs> vfs_;  // null in memory
  SQLite::Database database_;
  std::map<std::string, SQLite::Statement, std::less<>> statements_;
  Author author_;
  EditNote note_;
  std::int64_t lastEdit_ = 0;
  std::optional<Mirror> mirror_;
  std::function<void()> check_;
  bool asksOnce_ = false, isFresh_ = false, closesOrigin_ = false;
  Position copied_;
  Scopes scopes_;
};

}  // namespace folder_host
