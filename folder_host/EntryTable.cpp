#include "folder_host/EntryTable.h"

#include <utility>

namespace folder_host {

EntryTable::EntryTable(std::shared_ptr<const Listing> listing) : listing_(std::move(listing)) {
  indices_.reserve(size());
  parents_.reserve(size());
  for (std::size_t i = 0; i < size(); ++i) {
    const std::string_view path = (*this)[i].path;
    const std::size_t separator = path.rfind('/');
    parents_.push_back(separator == std::string_view::npos ? ROOT : indices_.at(path.substr(0, separator)));
    indices_.emplace(path, i);
  }
}

std::optional<std::size_t> EntryTable::find(std::string_view path) const {
  const auto found = indices_.find(path);
  return found == indices_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace folder_host
