#include "folder_host/store/Origin.h"

namespace folder_host {

Origin::~Origin() = default;

Servers::~Servers() = default;

}  // namespace folder_host
