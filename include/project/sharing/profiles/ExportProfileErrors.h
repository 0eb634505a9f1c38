#pragma once

#include <string>

#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/profiles/ExportMacro.h"
#include "resource_core/BaseMsgID.h"

// The library's errors. Each is thrown as foundation::core::except::Exception<X, project::exception::ProjectException>
// with one of these records as X, and carries the exception being handled (std::nested_exception) when there is one.
// A record's `component` is always "ORCHID:project:sharing", its `key` the type's own name.
namespace ORCHID::project::sharing {

inline constexpr const char* EXPORT_PROFILE_ERROR_COMPONENT = "ORCHID:project:sharing";

// Argument: the UUID that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileUuidNotFound : resource_core::BaseMsgID {
  template <class Text>
  explicit ExportProfileUuidNotFound(const Text& uuid)
      : BaseMsgID{{uuid}, EXPORT_PROFILE_ERROR_COMPONENT, "ExportProfileUuidNotFound"} {}
};

// Argument: the name that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileNameNotUnique : resource_core::BaseMsgID {
  template <class Text>
  explicit ExportProfileNameNotUnique(const Text& name)
      : BaseMsgID{{name}, EXPORT_PROFILE_ERROR_COMPONENT, "ExportProfileNameNotUnique"} {}
};

// Argument: the name that was looked for, as std::u16string.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileNameNotFound : resource_core::BaseMsgID {
  template <class Text>
  explicit ExportProfileNameNotFound(const Text& name)
      : BaseMsgID{{name}, EXPORT_PROFILE_ERROR_COMPONENT, "ExportProfileNameNotFound"} {}
};

// No argument: createManager was given no metadata manager.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfilesStartupFailure : resource_core::BaseMsgID {
  ExportProfilesStartupFailure();
};

// No argument: a profile with another UUID has the name already.
struct PROJECT_SHARING_PROFILES_EXPORT ExportProfileAlreadyExists : resource_core::BaseMsgID {
  ExportProfileAlreadyExists();
};

}  // namespace ORCHID::project::sharing

// Made once, in the library, so that what it throws is caught by type in any module.
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
