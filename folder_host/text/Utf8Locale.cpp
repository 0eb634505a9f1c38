#include "folder_host/text/Utf8Locale.h"

#include <cerrno>
#include <system_error>

namespace folder_host {

Utf8Locale::Utf8Locale() : utf8_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), before_{} {
  if (utf8_ == nullptr) throw std::system_error(errno, std::generic_category(), "C.UTF-8");
  before_ = ::uselocale(utf8_);
}

Utf8Locale::~Utf8Locale() {
  ::uselocale(before_);
  ::freelocale(utf8_);
}

}  // namespace folder_host
