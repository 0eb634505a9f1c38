// The seven functions that the library leaves to its host.
#include <execinfo.h>
#include <algorithm>
#include <random>

#include "foundation/core/except/IMsgIDException.h"
#include "project/exception/ProjectException.h"
#include "project/management/ProjectManager.h"

std::u16string fl::filesystem::detail::extract_parent_path(const std::u16string& text) {
  const std::size_t slash = text.rfind(u'/');
  return slash == std::u16string::npos ? std::u16string() : text.substr(0, slash);
}
std::u16string fl::filesystem::detail::make_native_form(const std::u16string& text, bool) { return text; }
std::u16string project::metadata::generateUUID() {
  std::random_device random;
  std::u16string uuid;
  while (uuid.size() < 32) uuid += u"0123456789abcdef"[random() % 16];
  return uuid;
}
const char* foundation::core::except::IException::what() const noexcept { return "an error of the project"; }
std::string foundation::core::except::IMsgIDException::get_error_id(const resource_core::BaseMsgID& record) {
  return record.component + ":" + record.key;
}
std::u16string foundation::core::except::IMsgIDException::GetUnicodeMessageTxt() const {
  const std::string id = GetID();
  std::u16string message(id.begin(), id.end());
  for (const auto& argument : GetBaseMsgIDObj().arguments) message += u" " + std::get<std::u16string>(argument);
  return message;
}
[[gnu::noinline]] void foundation::core::diag::stacktrace_base::capture(std::size_t skip) {
  const auto found = static_cast<std::size_t>(backtrace(entries_.data(), max_size));
  const std::size_t skipped = std::min(found, skip + 1);  // its own frame too
  size_ = found - skipped;
  std::copy_n(entries_.begin() + static_cast<std::ptrdiff_t>(skipped), size_, entries_.begin());
}
