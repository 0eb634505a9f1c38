#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"
#include "folder_host/share/Allowances.h"

// What was listed, read as it was listed, whoever writes it where.
namespace folder_host {

// ENTRY_CHANGED.
Error changed(const std::string& path);

// The system's refusal to read what was listed: ENTRY_CHANGED where the name leads elsewhere by now, ENTRY_UNREADABLE
// otherwise. `code` is an errno.
Error unreadable(const std::string& path, int code);

// A project's folder, from which entries are read. Never changes: several readers may use it at once.
struct Source {
  // What is read is handed out as what lies in the folder `scope`, an entry of the project; without one, in the
  // project itself. ENTRY_CHANGED and NESTED_PROJECT may be allowed, see EntryReader. Errors: ENTRY_CHANGED,
  // ENTRY_UNREADABLE.
  explicit Source(const std::string& root, Allowances allowances = {}, const Entry* scope = nullptr);

  Descriptor folder;
  FileId id;     // of the folder
  FileId store;  // of the project's own store, which is never opened
  Allowances allowed;
  Entry top;  // the folder that becomes the copy's own: the scope, or one without a path, the project's
};

// An entry that is open, and was at that moment what was listed.
struct OpenEntry {
  const Entry& entry;     // outlives this object
  std::string_view path;  // in the copy: that of the entry, from the source's top on; empty for the top itself
  Descriptor opened;      // a file's is open for reading and stands at its beginning
  struct stat status;
  mode_t permissions;  // that a copy gets (see Permissions.h); of a link, none
  bool hasChanged;     // since it was listed, which is allowed then
  bool mayChange;      // while it is read
  // Of a small file, all of it: it was read and then still what was listed. Where there is none, the content is read
  // from `opened`. Valid until the reader opens the next entry.
  std::optional<std::string_view> content = {};
};

// Opens entries of a source, one after the other. The folder of the last one stays open, so that a path is walked once
// for the entries that follow one another in it; within it a name leads nowhere else. Nothing is read through a link.
// Used by one thread at a time.
class EntryReader {
 public:
  // The source outlives the reader.
  explicit EntryReader(const Source& source) : source_(source) {}

  // The source's top. Errors: ENTRY_CHANGED, ENTRY_UNREADABLE.
  OpenEntry openTop() const;

  // Refuses what is no longer what was listed: another file, folder or link under its name never leaves, for it may be
  // what another name was to hold back. Of the very thing that was listed, anything that has changed since is refused
  // unless ENTRY_CHANGED is allowed for it. A file that by its first bytes is a store, a receipt or an export is
  // refused unless NESTED_PROJECT is allowed for it. Errors: ENTRY_CHANGED, ENTRY_UNREADABLE, NESTED_PROJECT.
  OpenEntry open(const Entry& entry);

  // Whether nothing of the file has changed since it was listed; to be asked when it has been read. Error:
  // ENTRY_CHANGED where it has and may not.
  bool isUnchanged(const OpenEntry& file) const;

 private:
  std::string_view pathInCopy(const Entry& entry) const;
  void enterFolderOf(const Entry& entry);
  bool mayHaveChanged(const Entry& entry) const;
  bool isUnchanged(const Entry& entry, const struct stat& status) const;
  OpenEntry openFile(const Entry& file);
  OpenEntry openLink(const Entry& link) const;

  const Source& source_;
  std::string path_;  // of the folder that is open
  Descriptor folder_;
  std::string name_;  // in it, of the entry that is being opened
  std::string buffer_;
};

}  // namespace folder_host
