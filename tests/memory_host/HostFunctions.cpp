// The functions that a host process gives the library.

#include <execinfo.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <random>
#include <string>

#include "foundation/core/diag/stacktrace_base.h"
#include "foundation/core/except/IMsgIDException.h"
#include "memory_host/MemoryHost.h"

using memory_host::is, memory_host::misuses, memory_host::errorIdentifiersMade;

std::atomic<std::size_t> memory_host::parentsAsked{0}, memory_host::misuses{0}, memory_host::errorIdentifiersMade{0};

std::u16string fl::filesystem::detail::extract_parent_path(const std::u16string& text) {
  ++memory_host::parentsAsked;
  if (text.empty()) ++misuses;
  const std::size_t slash = text.rfind(u'/');
  if (slash == std::u16string::npos || text.size() == 1) return {};
  return u'\0' + text.substr(0, std::max<std::size_t>(slash, 1));  // not native: make_native_form is needed
}

std::u16string fl::filesystem::detail::make_native_form(const std::u16string& text, bool flag) {
  if (text.empty() || !flag) ++misuses;
  if (text.empty() || text[0] != u'\0' || is("PATH_001 SHARE_002: the native form is the given one")) return text;
  return text.substr(1);
}

std::u16string project::metadata::generateUUID() {
  static std::atomic<int> made{0};
  static const auto seed = is("UUID_002: the clock is the seed") ? std::time(nullptr) : std::random_device()();
  const std::string number =
      std::to_string(++made % (is("UUID_001: UUIDs repeat") ? 500 : 1000000)) + "-" + std::to_string(seed);
  return u"uuid-" + std::u16string(number.begin(), number.end());
}

const char* foundation::core::except::IException::what() const noexcept { return "host: what"; }

std::u16string foundation::core::except::IMsgIDException::GetUnicodeMessageTxt() const {
  for (const auto& argument : GetBaseMsgIDObj().arguments) {
    if (is("ERROR_001: arguments are narrow")) static_cast<void>(std::get<std::string>(argument));
  }
  return u"host: message";
}

std::string foundation::core::except::IMsgIDException::get_error_id(const resource_core::BaseMsgID& record) {
  ++errorIdentifiersMade;
  return record.component + ":" + record.key +
         (is("ERROR_001: identifiers change") ? std::to_string(errorIdentifiersMade) : "");
}

void foundation::core::diag::stacktrace_base::capture(std::size_t) {
  const int room = is("ERROR_002: a stack trace is longer than its room") ? 400 : static_cast<int>(max_size);
  size_ = std::min(max_size, static_cast<std::size_t>(backtrace(entries_.data(), room)));
}
