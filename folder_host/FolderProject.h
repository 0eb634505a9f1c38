#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Listing.h"
#include "folder_host/files/Ownership.h"
#include "folder_host/labels/Followed.h"
#include "folder_host/share/WorkingCopy.h"
#include "folder_host/store/History.h"
#include "folder_host/store/LabelStore.h"
#include "folder_host/store/MetadataStore.h"
#include "folder_host/store/Origin.h"
#include "project/metadata/MetadataScopeGuard.h"

namespace folder_host {

class Store;

// How stores are reached that stand on servers.
struct ServerAccess {
  std::shared_ptr<Servers> servers;  // null: a project that has its store on one is refused
  std::string mirrors = {};          // see MirrorFile.h
  // Asked before anything is sent to an address that a project names; what it throws passes. Null: any address is used.
  std::function<void(const Address&)> require = nullptr;
  bool isOffline = false;  // such a project is only read, as it was seen last
};

// A project: a folder on disk whose `.project/store.db`, or the store at the address in `.project/address`, keeps its
// labels and its metadata. Used by one thread at a time; several processes may have the same project open.
class FolderProject {
 public:
  // Makes the folder, which has to exist, a project. Errors: NOT_A_PROJECT (no such folder), ALREADY_A_PROJECT (it, or
  // a folder above it, is one; one above that is not trusted does not count), STORE_UNTRUSTED (it has a stranger's
  // `.project`), STORE_FAILED, also where there is a `.project` that is not an empty folder. Where it fails, it leaves
  // nothing; what one that was killed left is removed.
  static FolderProject init(const std::string& folder, const Trust& trust = nullptr);

  // The same, with a store at the address, which this makes, or which somebody made (join). Further errors: those of
  // Servers::create; those of Origin::read. A folder whose store was closed on its server, since it was moved, joins by
  // another address, and keeps what is its own; so does one whose store is not there any more or is out of reach, where
  // the other address has what the folder has seen (else STORE_WENT_BACK).
  static FolderProject initAt(const std::string& folder, const Trust& trust, const Address& address,
                              const ServerAccess& access, const Author& author);
  static FolderProject join(const std::string& folder, const Trust& trust, const Address& address,
                            const ServerAccess& access);

  // Opens the project that holds `folder`: the folder itself or the nearest one above. Errors: NOT_A_PROJECT,
  // STORE_UNTRUSTED, and those of openStoreFile; the store is then as it was. Of a store on a server: ADDRESS_UNUSABLE,
  // STORE_UNREACHABLE where there is no access; the server itself is asked when something is.
  static FolderProject open(const std::string& folder, const Trust& trust = nullptr, const ServerAccess& access = {});

  // The root of the project that `open` would open, whosever it is. Errors: NOT_A_PROJECT.
  static std::string rootOf(const std::string& folder);

  // Whether the folder is a project or lies in one, whosever it is: a copy that was handed out is one, too.
  static bool isWithinOne(const std::string& folder);

  FolderProject(FolderProject&&) noexcept;
  FolderProject& operator=(FolderProject&&) noexcept;
  ~FolderProject();

  // Absolute, without links in it.
  const std::string& root() const;

  std::shared_ptr<MetadataStore> metadata() const;
  LabelStore& labels() const;

  // A write scope on the whole store (labels and metadata): what is read in it is what is changed. Rolled back when it
  // ends while an exception passes.
  project::metadata::MetadataScopeGuard beginWrite() const;

  // Throws the failure of a commit that nobody has been told of yet. To be called after the last scope has ended.
  void confirm() const;

  // Each outermost write scope that changes something is an entry of the log, with its author; see Store.
  History history() const;
  void setAuthor(Author author) const;
  const Author& author() const;
  // The number of the last entry that was made through this object; 0: none.
  std::int64_t lastEdit() const;
  // Notes with the edit whose write scope is open what the folder remembers of what it may settle (Followed::openAt).
  // Where it settles by what it says and not only by what it changes, that makes it an entry of the log even if it
  // changes nothing in the store.
  void note(const std::vector<Remembered>& before, bool settles) const;
  // Takes an edit back, by an edit of its own; what it settled is remembered as before. Gives the edit that was taken
  // back. Errors: those of History::undo, and then MEMORY_FAILED.
  Edit undo(std::int64_t number, const std::shared_ptr<const EntryTable>& entries) const;

  // Where the store is, if it is on a server.
  const std::optional<Address>& address() const { return address_; }
  // Offline, when it was last seen: seconds since 1970.
  std::optional<std::int64_t> seen() const;
  // The state that the store is in, as it was asked for last.
  Position position() const;
  // For a process that asks much and lives for a moment: of a store on a server, what is read goes by its first answer,
  // but that a working copy asks anew.
  void askOnce() const;
  // Of a store on a server: the edits that were seen, and that the server has not (STORE_WENT_BACK). To accept it is to
  // take what it has for right all the same.
  std::vector<Edit> lostOnServer() const;
  void acceptServer() const;
  // Moves the store to the address, which this makes; others wait meanwhile, and are told then that it moved. What it
  // was stays in `.project/moved-store.db`. The project is to be opened again. Errors: those of Servers::create, with
  // which nothing has moved; STORE_FAILED.
  void moveTo(const Address& address, const ServerAccess& access) const;
  // Moves it back into the folder, and closes it on the server: whoever else uses it there is told so. The project is
  // to be opened again. Errors: those of an edit, with which nothing has moved; STORE_FAILED.
  void moveBack() const;

  // The path relative to root() of what a person named, relative to the working directory or absolute: links in the
  // folders on the way are followed, a link at the end only where a slash stands behind it. Empty for root() itself. It
  // need not exist.
  // Errors: PATH_OUTSIDE_PROJECT (also for the store), PATH_TOO_LONG.
  std::string locate(const std::string& named) const;

  Listing list() const;

  // `.project`, as it was opened: what is the folder's alone lies in it.
  const Descriptor& storeFolder() const;

  // What the folder holds, and then the store, whose labels may so be newer than the entries, and what the folder
  // remembers. Errors: those of listFolder, STORE_FAILED, MEMORY_FAILED.
  std::shared_ptr<WorkingCopy> workingCopy() const;

  // What the folder remembers of labelled entries (see Followed), and what became of it. Error: MEMORY_FAILED.
  std::shared_ptr<const Followed> followed(std::shared_ptr<const EntryTable> entries) const;
  // Brings it up to date, as of the labels that the store has now: to be called when an edit of marks or rules has been
  // kept, and after each share. What is settled counts as it is from now on. Error: MEMORY_FAILED; nothing has changed
  // then.
  void remember(const std::shared_ptr<const EntryTable>& entries, const Settled& settled) const;
  // Says of what is lost at these paths that it is meant so. Errors: as above.
  void rememberAsMeant(const std::shared_ptr<const EntryTable>& entries, const std::vector<std::string>& paths) const;

 private:
  FolderProject(std::string root, Descriptor storeFolder, std::shared_ptr<Store> store, std::optional<Address> address);
  static FolderProject openFound(std::string root, const Trust& trust, const ServerAccess& access);
  void changeAddress(const Address& address) const;
  bool isWrittenBack() const;
  void writeBack() const;
  std::shared_ptr<const Memory> memory() const;
  enum class When { afterTheEdit, withinTheEdit };
  template <class Change>
  void replaceMemory(const std::shared_ptr<const EntryTable>& entries, const Change& change,
                     When when = When::afterTheEdit) const;

  std::string root_;
  std::shared_ptr<const Descriptor> storeFolder_;  // shared with the store's check
  std::optional<Address> address_;
  std::shared_ptr<Store> store_;
  std::shared_ptr<MetadataStore> metadata_;
  std::unique_ptr<LabelStore> labels_;
};

}  // namespace folder_host
