#pragma once

#include <string>

#include "folder_host/Error.h"
#include "folder_host/store/Address.h"
#include "folder_host/store/Origin.h"
#include "server_store/Turn.h"

namespace server_store {

// The refusals of the store at an address. What a server says is in quotes in them.
class Refusals {
 public:
  explicit Refusals(const folder_host::Address& address);

  folder_host::Error unreachable(const std::string& why) const;
  folder_host::Error notFound() const;
  folder_host::Error nameTaken() const;
  folder_host::Error tooNew() const;
  folder_host::Error moved() const;
  folder_host::Error unreadable(const std::string& why) const;
  folder_host::Error wentBack() const;
  folder_host::Error conflict() const;
  folder_host::OutcomeUnknown outcomeUnknown(const std::string& edit) const;
  folder_host::Error tooLarge() const;

  // Of a statement that reads, or one that asks for a lock or keeps something.
  folder_host::Error ofReading(const StatementRefused& refused) const;
  folder_host::Error ofEditing(const StatementRefused& refused) const;

 private:
  std::string project_;
  std::string place_;
};

}  // namespace server_store
