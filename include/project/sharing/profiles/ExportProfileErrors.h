#pragma once

#include <string>
#include <utility>

#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/profiles/ExportMacro.h"
#include "resource_core/BaseMsgID.h"

// The library's errors. Each is thrown as foundation::core::except::Exception<X, project::exception::ProjectException>
// with one of these records as X. It carries the exception being handled (std::nested_exception) where there is one;
// what clone() and rethrow() copy carries none. What the host's capture or get_error_id throws takes the error's place.
// A record's `component` is always "ORCHID:project:sharing", and its `key` the type's own name.
namespace ORCHID::project::sharing {

inline constexpr const char* EXPORT_PROFILE_ERROR_COMPONENT = "ORCHID:project:sharing";

// What the records have in common. A copy or an assignment that runs out of memory throws and changes nothing.
struct PROJECT_SHARING_PROFILES_EXPORT ErrorRecord : resource_core::BaseMsgID {
  explicit ErrorRecord(const char* name) : BaseMsgID{{}, EXPORT_PROFILE_ERROR_COMPONENT, name} {}
  ErrorRecord(const char* name, std::u16string argument) : ErrorRecord(name) {
    arguments.emplace_back(std::move(argument));
  }
  ErrorRecord(const ErrorRecord& other);
  ErrorRecord(ErrorRecord&&) = default;
  ErrorRecord& operator=(const ErrorRecord& other) { return *this = ErrorRecord(other); }
  ErrorRecord& operator=(ErrorRecord&&) = default;
  ~ErrorRecord() = default;
};

// Argument: the UUID that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileUuidNotFound : ErrorRecord {
  template <class Text>
  explicit ExportProfileUuidNotFound(const Text& uuid) : ErrorRecord("ExportProfileUuidNotFound", uuid) {}
};

// Argument: the name that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileNameNotUnique : ErrorRecord {
  template <class Text>
  explicit ExportProfileNameNotUnique(const Text& name) : ErrorRecord("ExportProfileNameNotUnique", name) {}
};

// Argument: the name that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileNameNotFound : ErrorRecord {
  template <class Text>
  explicit ExportProfileNameNotFound(const Text& name) : ErrorRecord("ExportProfileNameNotFound", name) {}
};

// No argument: createManager was given no metadata manager.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfilesStartupFailure : ErrorRecord {
  ExportProfilesStartupFailure();
};

// No argument: a profile with another UUID has the name already.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileAlreadyExists : ErrorRecord {
  ExportProfileAlreadyExists();
};

}  // namespace ORCHID::project::sharing

// Only the library instantiates these, so that every module that is linked to it catches what it throws by type.
namespace foundation::core::except {

extern template class PROJECT_SHARING_PROFILES_EXPORT
    Exception<ORCHID::project::sharing::ExportProfileUuidNotFound, ::project::exception::ProjectException>;
extern template class PROJECT_SHARING_PROFILES_EXPORT
    Exception<ORCHID::project::sharing::ExportProfileNameNotUnique, ::project::exception::ProjectException>;
extern template class PROJECT_SHARING_PROFILES_EXPORT
    Exception<ORCHID::project::sharing::ExportProfileNameNotFound, ::project::exception::ProjectException>;
extern template class PROJECT_SHARING_PROFILES_EXPORT
    Exception<ORCHID::project::sharing::ExportProfilesStartupFailure, ::project::exception::ProjectException>;
extern template class PROJECT_SHARING_PROFILES_EXPORT
    Exception<ORCHID::project::sharing::ExportProfileAlreadyExists, ::project::exception::ProjectException>;

}  // namespace foundation::core::except
