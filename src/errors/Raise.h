#pragma once

#include "project/sharing/profiles/ExportProfileErrors.h"

namespace project::sharing::profiles {

// Throws the error of this record, with the exception being handled nested in it where there is one. Defined for the
// five records of the library only.
template <class X>
[[noreturn]] void raise(const X& record);

}  // namespace project::sharing::profiles
