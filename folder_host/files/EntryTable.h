#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "folder_host/files/Listing.h"

namespace folder_host {

// Which entries of a table are meant, by index.
using Selection = std::vector<bool>;

// A listing with its entries found by path, in logarithmic time whatever their names are (a hash without a key could be
// aimed at by crafted ones), and each entry's folder in constant time. Never changes.
class EntryTable {
 public:
  // Stands for the project's folder where an entry's index is expected.
  static constexpr std::size_t ROOT = static_cast<std::size_t>(-1);

  explicit EntryTable(std::shared_ptr<const Listing> listing);

  const Listing& listing() const noexcept { return *listing_; }
  std::size_t size() const noexcept { return listing_->entries.size(); }
  const Entry& operator[](std::size_t index) const noexcept { return listing_->entries[index]; }

  std::optional<std::size_t> find(std::string_view path) const;

  // The folder that the entry lies in: an index below its own, or ROOT.
  std::size_t parentOf(std::size_t index) const noexcept {
    return parents_[index] == TOP ? ROOT : std::size_t{parents_[index]};
  }

 private:
  static constexpr std::uint32_t TOP = UINT32_MAX;

  std::shared_ptr<const Listing> listing_;
  std::vector<std::uint32_t> parents_;  // an entry takes so many bytes that no listing has more
};

}  // namespace folder_host
