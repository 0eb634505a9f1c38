#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <system_error>
#include <utility>

#include "folder_host/Descriptor.h"
#include "folder_host/Entry.h"
#include "folder_host/Failure.h"

namespace folder_host {

namespace {

constexpr const char* STORE_FOLDER = ".project";

// Walks with one descriptor open beside the top folder's, however deep the tree is.
class Walk {
 public:
  explicit Walk(const std::string& folder) : top_(openFolder(folder)) {}

  Listing run() {
    pending_.emplace_back();
    while (!pending_.empty()) {
      const std::string folder = std::move(pending_.back());
      pending_.pop_back();
      read(folder);
    }
    std::sort(listing_.entries.begin(), listing_.entries.end(),
              [](const Entry& a, const Entry& b) { return a.path < b.path; });
    std::sort(listing_.skipped.begin(), listing_.skipped.end());
    std::sort(listing_.nestedProjects.begin(), listing_.nestedProjects.end());
    return std::move(listing_);
  }

 private:
  void read(const std::string& folder) {
    try {
      const Descriptor opened = openBeneath(top_, folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
      for (const FolderItem& item : readFolder(opened)) add(opened, folder, item);
    } catch (const std::system_error& error) {
      throw systemFailure(errors::ENTRY_UNREADABLE, "cannot list", folder.empty() ? "." : folder, error.code().value());
    }
  }

  void add(const Descriptor& opened, const std::string& folder, const FolderItem& item) {
    if (item.name == STORE_FOLDER) {
      if (folder.empty()) return;
      // A link may lead to a project as well as a folder may be one.
      if (item.type != S_IFREG) listing_.nestedProjects.push_back(folder);
    }
    std::string path = joined(folder, item.name);
    if (path.size() >= PATH_MAX) throw Error(errors::PATH_TOO_LONG, "this path is too long: " + inQuotes(path));
    if (item.type == S_IFDIR) pending_.push_back(path);
    if (item.type == S_IFDIR || item.type == S_IFREG) {
      listing_.entries.push_back({std::move(path), item.type == S_IFDIR ? EntryKind::folder : EntryKind::file, {}});
    } else if (item.type == S_IFLNK) {
      listing_.entries.push_back({std::move(path), EntryKind::link, readLink(opened, item.name)});
    } else {
      listing_.skipped.push_back(std::move(path));
    }
  }

  Descriptor top_;
  std::vector<std::string> pending_;  // folders still to be read
  Listing listing_;
};

}  // namespace

Listing listFolder(const std::string& folder) {
  try {
    return Walk(folder).run();
  } catch (const std::system_error& error) {
    throw systemFailure(errors::ENTRY_UNREADABLE, "cannot list", folder, error.code().value());
  }
}

}  // namespace folder_host
