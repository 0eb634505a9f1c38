#include "folder_host/store/Origin.h"

namespace folder_host {

OutcomeUnknown::~OutcomeUnknown() = default;

Origin::~Origin() = default;

Servers::~Servers() = default;

}  // namespace folder_host
