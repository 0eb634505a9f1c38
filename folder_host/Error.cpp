#include "folder_host/Error.h"

namespace folder_host {

Error::~Error() = default;

}  // namespace folder_host
