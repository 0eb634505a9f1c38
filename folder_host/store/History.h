#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/store/Changes.h"

namespace folder_host {

class Store;

// EDIT_BUILT_UPON and EDIT_TAKEN_BACK, with the number of the edit that is to be taken back first.
class EditInTheWay : public Error {
 public:
  EditInTheWay(const char* identifier, const std::string& message, std::int64_t first)
      : Error(identifier, message), first_(first) {}
  ~EditInTheWay() override;

  std::int64_t first() const noexcept { return first_; }

 private:
  std::int64_t first_;
};

// The log of a store: every edit that was kept, also those that were taken back since. Errors: those of the store.
class History {
 public:
  explicit History(std::shared_ptr<Store> store) : store_(std::move(store)) {}

  // In their order.
  std::vector<Edit> edits() const;

  // The number of the last edit of that user on that machine that stands, did something and took none back itself; 0:
  // none.
  std::int64_t lastOf(const Author& author) const;

  // Makes the rows that the edit changed what they were before it. To be called in a write scope, which is an edit of
  // its own then, and can be taken back like any other. Gives the edit that was taken back.
  //
  // Nothing is taken back by half. EDIT_BUILT_UPON: a later edit that stands has changed one of these rows or names, or
  // needs what would go, or removed what they need; or an edit that would be made again was made upon another one that
  // stood then and does not now, or the other way round; or a row is not as the edit left it. So the edits that stand
  // can always be taken back from the last to the first.
  // Errors: EDIT_NOT_FOUND; EDIT_TAKEN_BACK and EDIT_BUILT_UPON, mostly as EditInTheWay.
  Edit undo(std::int64_t number) const;

 private:
  std::vector<Edit> heads() const;  // without what they changed and settled
  void addChanges(std::vector<Edit>& edits, std::int64_t from) const;

  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
