#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "folder_host/text/Printable.h"

namespace folder_host {

// A refusal of the folder host. The identifier is stable, for programs; what() is one line for people that says what
// to do about it.
class Error : public std::runtime_error {
 public:
  Error(const char* identifier, const std::string& message) : std::runtime_error(message), identifier_(identifier) {}
  ~Error() override;

  const char* identifier() const noexcept { return identifier_; }

 private:
  const char* identifier_;  // one of the constants below
};

// The refusal of what the system would not do: "cannot read 'a/b': Permission denied". `what` is "cannot read", `code`
// an errno.
Error systemFailure(const char* identifier, const std::string& what, std::string_view path, int code);

// Gives what `action` gives. What the system would not do in it, which comes as std::system_error, is refused so;
// whatever else it throws passes.
template <class Action>
auto attempt(const char* identifier, const char* what, std::string_view path, const Action& action) {
  try {
    return action();
  } catch (const std::system_error& error) {
    throw systemFailure(identifier, what, path, error.code().value());
  }
}

// Every identifier, once. They are never given another meaning.
namespace errors {
inline constexpr const char* ALREADY_A_PROJECT = "already-a-project";
inline constexpr const char* NOT_A_PROJECT = "not-a-project";
inline constexpr const char* STORE_UNREADABLE = "store-unreadable";
inline constexpr const char* STORE_TOO_NEW = "store-too-new";
inline constexpr const char* STORE_UNTRUSTED = "store-untrusted";
inline constexpr const char* STORE_FAILED = "store-failed";
inline constexpr const char* STORE_UNREACHABLE = "store-unreachable";
inline constexpr const char* STORE_NOT_FOUND = "store-not-found";
inline constexpr const char* STORE_NAME_TAKEN = "store-name-taken";
inline constexpr const char* STORE_MOVED = "store-moved";
inline constexpr const char* STORE_READ_ONLY = "store-read-only";
inline constexpr const char* STORE_BUSY = "store-busy";
inline constexpr const char* STORE_CONFLICT = "store-conflict";
inline constexpr const char* STORE_OUTCOME_UNKNOWN = "store-outcome-unknown";
inline constexpr const char* STORE_WENT_BACK = "store-went-back";
inline constexpr const char* ADDRESS_UNUSABLE = "address-unusable";
inline constexpr const char* MEMORY_FAILED = "memory-failed";
inline constexpr const char* WRITE_IN_READ_SCOPE = "write-in-read-scope";
inline constexpr const char* NAME_EMPTY = "name-empty";
inline constexpr const char* LABEL_NAME_TAKEN = "label-name-taken";
inline constexpr const char* LABEL_NOT_FOUND = "label-not-found";
inline constexpr const char* EDIT_NOT_FOUND = "edit-not-found";
inline constexpr const char* EDIT_TAKEN_BACK = "edit-taken-back";
inline constexpr const char* EDIT_BUILT_UPON = "edit-built-upon";
inline constexpr const char* PATH_OUTSIDE_PROJECT = "path-outside-project";
inline constexpr const char* PATH_NOT_AN_ENTRY = "path-not-an-entry";
inline constexpr const char* PATH_TOO_LONG = "path-too-long";
inline constexpr const char* NESTED_PROJECT = "nested-project";
inline constexpr const char* DESTINATION_EXISTS = "destination-exists";
inline constexpr const char* DESTINATION_IN_PROJECT = "destination-in-project";
inline constexpr const char* DESTINATION_UNUSABLE = "destination-unusable";
inline constexpr const char* ENTRY_CHANGED = "entry-changed";
inline constexpr const char* ENTRY_UNREADABLE = "entry-unreadable";
inline constexpr const char* SHARED_BELOW_HELD_BACK = "shared-below-held-back";
inline constexpr const char* NAMES_COLLIDE = "names-collide";
inline constexpr const char* ARCHIVE_UNREADABLE = "archive-unreadable";
inline constexpr const char* NAME_UNFIT = "name-unfit";
inline constexpr const char* COPY_FAILED = "copy-failed";
}  // namespace errors

}  // namespace folder_host
