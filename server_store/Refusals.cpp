#include "server_store/Refusals.h"

#include <optional>

#include "folder_host/text/Printable.h"

namespace server_store {

using folder_host::Error;
using folder_host::inQuotes;
namespace errors = folder_host::errors;

namespace {

// What needs the administrator, whatever was asked for.
std::optional<Error> ofDatabase(const std::string& code, const std::string& place) {
  if (code == "42P01" || code == "3F000" || code == "42703") {
    return Error(errors::STORE_NOT_FOUND, "the database at " + place +
                                              " keeps no projects yet: ask its administrator to run schema.sql and "
                                              "roles.sql of project-share in it");
  }
  return std::nullopt;
}

}  // namespace

Refusals::Refusals(const folder_host::Address& address)
    : project_(inQuotes(address.project)),
      place_(inQuotes(address.hosts.empty() ? "service " + address.service : address.hosts + "/" + address.database)) {}

Error Refusals::unreachable(const std::string& why) const {
  return {errors::STORE_UNREACHABLE, "the server at " + place_ + " is out of reach: " + inQuotes(why)};
}

Error Refusals::notFound() const {
  return {errors::STORE_NOT_FOUND, "there is no project " + project_ + " at " + place_ + ": look at its address again"};
}

Error Refusals::nameTaken() const {
  return {errors::STORE_NAME_TAKEN, "there is a project " + project_ + " at " + place_ + " already: give another name"};
}

Error Refusals::tooNew() const {
  return {errors::STORE_TOO_NEW,
          "the project " + project_ + " at " + place_ + " was written by a newer version: install that one"};
}

Error Refusals::moved() const {
  return {errors::STORE_MOVED,
          "the project " + project_ + " is not kept at " + place_ +
              " any more: ask whoever moved it for the new address, and join that in this folder; a move back that "
              "was cut short goes on when it is typed again"};
}

Error Refusals::unreadable(const std::string& why) const {
  return {errors::STORE_UNREADABLE, "what the server at " + place_ + " keeps of the project " + project_ +
                                        " cannot be read (" + why + "): tell its administrator"};
}

Error Refusals::wentBack() const {
  return {errors::STORE_WENT_BACK, "the server at " + place_ + " has lost edits of the project " + project_ +
                                       " that were seen before: ask its administrator what happened"};
}

Error Refusals::conflict() const {
  return {errors::STORE_CONFLICT,
          "somebody else edited the project " + project_ + " meanwhile, and this edit was not kept: make it again"};
}

folder_host::OutcomeUnknown Refusals::outcomeUnknown(const std::string& edit) const {
  return {"the server at " + place_ + " has not said in time whether it keeps edit " + inQuotes(edit) +
              ": look before you make it again",
          edit};
}

Error Refusals::tooLarge() const {
  return {errors::STORE_FAILED,
          "this is more than a server keeps in one edit (64 MiB) or one project (1 GiB): make several of it"};
}

Error Refusals::ofReading(const StatementRefused& refused) const {
  if (auto error = ofDatabase(refused.code(), place_)) return *error;
  if (refused.code() == "42501") {
    return {errors::STORE_NOT_FOUND, "the server at " + place_ +
                                         " shows you no projects: ask its administrator for the role "
                                         "project_share_sharers or project_share_editors"};
  }
  return unreachable(refused.what());
}

Error Refusals::ofEditing(const StatementRefused& refused) const {
  const std::string& code = refused.code();
  if (auto error = ofDatabase(code, place_)) return *error;
  if (code == "42501") {
    return {errors::STORE_READ_ONLY,
            "you may not edit projects at " + place_ + ": ask its administrator for the role project_share_editors"};
  }
  if (code == "25006") {
    return {errors::STORE_READ_ONLY, "the server at " + place_ + " takes no edits now: " + inQuotes(refused.what())};
  }
  if (code == "55P03") {
    return {errors::STORE_BUSY, "somebody else is editing the project " + project_ + ": try again"};
  }
  return {errors::STORE_FAILED, "the server at " + place_ + " could not do it: " + inQuotes(refused.what())};
}

}  // namespace server_store
