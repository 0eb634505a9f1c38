#include "folder_host/files/EntryTable.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace folder_host {

EntryTable::EntryTable(std::shared_ptr<const Listing> listing) : listing_(std::move(listing)) {
  if (size() >= TOP) throw std::length_error("more entries than a table can hold");
  parents_.reserve(size());
  std::string_view latest;  // the folder of the entry before: mostly this one's too
  for (std::size_t i = 0; i < size(); ++i) {
    const std::string_view path = (*this)[i].path;
    const std::size_t separator = path.rfind('/');
    const std::string_view folder = path.substr(0, separator == std::string_view::npos ? 0 : separator);
    // A listing has no entry without its folder, so the folder is always found.
    const bool same = i > 0 && folder == latest;
    parents_.push_back(same             ? parents_.back()
                       : folder.empty() ? TOP
                                        : static_cast<std::uint32_t>(find(folder).value()));
    latest = folder;
  }
}

std::optional<std::size_t> EntryTable::find(std::string_view path) const {
  const auto& entries = listing_->entries;
  const auto found = std::lower_bound(entries.begin(), entries.end(), path,
                                      [](const Entry& entry, std::string_view text) { return entry.path < text; });
  if (found == entries.end() || found->path != path) return std::nullopt;
  return static_cast<std::size_t>(found - entries.begin());
}

}  // namespace folder_host
