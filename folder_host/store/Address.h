#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace folder_host {

// Where the store of a project stands that several people keep together:
// "postgresql://HOST[:PORT][,...]/DB?project=NAME", or, for what a service file names,
// "postgresql:///?service=NAME&project=NAME". It says neither as whom to connect nor how safely: the one is each user's
// own, the other not for an address to decide.
struct Address {
  std::string hosts;     // as written, without user; may be empty, with a service
  std::string database;  // decoded; may be empty, with a service
  std::string service;   // decoded; mostly empty
  std::string project;   // decoded, UTF-8; never empty

  // What parseAddress reads; the same for the same address, however that was written.
  std::string text() const;
};

inline bool operator==(const Address& a, const Address& b) { return a.text() == b.text(); }

// Error: ADDRESS_UNUSABLE, whose message never shows a password: it is of another kind, has a user or a password in it,
// an option but `project` and `service`, none of them, or one twice; names no host and no service; is longer than 1,000
// bytes; or holds what is no UTF-8 or cannot be shown.
Address parseAddress(std::string_view text);

}  // namespace folder_host
