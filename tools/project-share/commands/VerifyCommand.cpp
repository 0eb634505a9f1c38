#include <fcntl.h>
#include <fmt/format.h>

#include <map>
#include <system_error>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Listing.h"
#include "folder_host/text/Printable.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::Entry;
using folder_host::EntryKind;

namespace {

// What stands at the copy's paths, the store's folder included, less what was found to be as it was handed out.
// All of the copy is listed first: what was added to it is as much a difference as what is missing.
class Copy {
 public:
  explicit Copy(const std::string& folder) {
    add(folder_host::listFolder(folder), "");
    folder_ = folder_host::openFolder(folder);
    // No listing has the store's folder, but the copy's store was handed out like all else.
    struct stat status {};
    if (::fstatat(folder_.get(), folder_host::STORE_FOLDER, &status, AT_SYMLINK_NOFOLLOW) != 0) return;
    const EntryKind kind = S_ISDIR(status.st_mode) ? EntryKind::folder : EntryKind::file;
    const bool isEntry = S_ISDIR(status.st_mode) || S_ISREG(status.st_mode);
    add(isEntry ? folder_host::Listing{{{folder_host::STORE_FOLDER, kind, {}}}, {}}
                : folder_host::Listing{{}, {folder_host::STORE_FOLDER}},
        "");
    if (kind == EntryKind::folder) {
      add(folder_host::listFolder(folder + "/" + folder_host::STORE_FOLDER), folder_host::STORE_FOLDER);
    }
    for (const auto& [path, entry] : entries_) progress_.allBytes += entry.size;
    progress_.allEntries = entries_.size();
  }

  // What was found is struck off, so what remains in the end is what was added.
  void check(const NotedEntry& noted) {
    const auto found = entries_.find(noted.path);
    if (found == entries_.end()) return differ("missing", noted.path);
    ++progress_.entries;
    if (!isAsNoted(found->second, noted)) differ("changed", noted.path);
    entries_.erase(found);
  }

  // Gives how much differs in all.
  std::size_t finish() {
    for (const auto& [path, entry] : entries_) differ("added", path);
    return differences_;
  }

 private:
  // A pipe, a socket or a device was never handed out.
  void add(const folder_host::Listing& listing, const std::string& prefix) {
    for (const std::string& path : listing.skipped) differ("added", folder_host::joined(prefix, path));
    for (const Entry& entry : listing.entries) {
      Entry whole = entry;
      whole.path = folder_host::joined(prefix, entry.path);
      entries_.emplace(whole.path, std::move(whole));
    }
  }

  // A size that differs is answer enough, and nothing has to be read.
  bool isAsNoted(const Entry& entry, const NotedEntry& noted) {
    if (entry.kind != noted.kind || entry.target != noted.target) return false;
    if (entry.kind != EntryKind::file) return true;
    // The copy has been in other hands: a link must not lead out of it, and a pipe must not be waited for.
    return folder_host::attempt(folder_host::errors::ENTRY_UNREADABLE, "cannot read", entry.path, [&] {
      const Descriptor file = openBeneath(folder_, entry.path, O_RDONLY | O_NONBLOCK);
      return noted.size == static_cast<std::uint64_t>(statusOf(file).st_size) &&
             noted.sha256 == folder_host::sha256Of(file, [&](std::uint64_t bytes) {
               progress_.bytes += bytes;
               line_.show(progress_);
             });
    });
  }

  void differ(const char* how, const std::string& path) {
    ++differences_;
    Json object{{"type", how}};
    putPath(object, "path", path);
    item(fmt::format("{:7}  {}", how, folder_host::freeName(path)), object);
  }

  Descriptor folder_;
  std::map<std::string, Entry> entries_;
  folder_host::Progress progress_;
  ProgressLine line_{"checked"};
  std::size_t differences_ = 0;
};

}  // namespace

void verifyCopy(const std::string& folder, const std::string& file) {
  ReceiptReader receipt(file);
  // All of the receipt is judged before the first comparison: nothing is told by what turns out to be none.
  const std::string time = receipt.judge();
  Copy copy(folder);
  receipt.forEach([&](const NotedEntry& noted) { copy.check(noted); });
  const std::size_t differences = copy.finish();
  if (differences > 0) {
    throw Refusal(
        refusals::COPY_DIFFERS,
        fmt::format("{} from what was handed out, listed on standard output; share again where that is not meant",
                    counted(differences, "difference", "differences")));
  }
  done(fmt::format("{} is what was handed out at {}.", folder_host::inQuotes(folder), folder_host::freeName(time)),
       {{"type", "verified"}, {"time", time}});
}

}  // namespace project_share
