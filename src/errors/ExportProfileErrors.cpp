#include "project/sharing/profiles/ExportProfileErrors.h"

#include <exception>
#include <utility>
#include <variant>

#include "errors/Raise.h"

using namespace ORCHID::project::sharing;
using ::project::exception::ProjectException;

namespace ORCHID::project::sharing {

// Each text is copied as a value of its own: where the copy of a std::variant of strings fails, libstdc++ 12 destroys a
// text that was never made.
ErrorRecord::ErrorRecord(const ErrorRecord& other) : BaseMsgID{{}, other.component, other.key} {
  for (const auto& argument : other.arguments) {
    std::visit([this](auto value) { arguments.emplace_back(std::move(value)); }, argument);
  }
}

ExportProfilesStartupFailure::ExportProfilesStartupFailure() : ErrorRecord("ExportProfilesStartupFailure") {}

ExportProfileAlreadyExists::ExportProfileAlreadyExists() : ErrorRecord("ExportProfileAlreadyExists") {}

}  // namespace ORCHID::project::sharing

namespace foundation::core::except {

template class Exception<ExportProfileUuidNotFound, ProjectException>;
template class Exception<ExportProfileNameNotUnique, ProjectException>;
template class Exception<ExportProfileNameNotFound, ProjectException>;
template class Exception<ExportProfilesStartupFailure, ProjectException>;
template class Exception<ExportProfileAlreadyExists, ProjectException>;

}  // namespace foundation::core::except

namespace project::sharing::profiles {

// The base is made here, so that the stack is captured close to where the library found the error. Without an exception
// being handled the error is thrown as itself: std::throw_with_nested would nest nothing, and give it another type.
template <class X>
void raise(const X& record) {
  using Error = foundation::core::except::Exception<X, ProjectException>;
  const ProjectException base;
  if (std::current_exception()) std::throw_with_nested(Error(base, record));
  throw Error(base, record);
}

template void raise(const ExportProfileUuidNotFound&);
template void raise(const ExportProfileNameNotUnique&);
template void raise(const ExportProfileNameNotFound&);
template void raise(const ExportProfilesStartupFailure&);
template void raise(const ExportProfileAlreadyExists&);

}  // namespace project::sharing::profiles
