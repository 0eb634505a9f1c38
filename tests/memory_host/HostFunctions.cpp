// The functions that a host process gives the library.

#include <execinfo.h>

#include <algorithm>
#include <atomic>
#include <string>

#include "foundation/core/diag/stacktrace_base.h"
#include "foundation/core/except/IMsgIDException.h"
#include "memory_host/MemoryHost.h"

namespace {

std::atomic<std::size_t> parents{0}, misuses{0};
std::atomic<int> errorIdentifiers{0};

}  // namespace

using memory_host::is;

memory_host::PathQuestions memory_host::pathQuestions() { return {parents, misuses}; }

int memory_host::errorIdentifiersMade() { return errorIdentifiers; }

std::u16string fl::filesystem::detail::extract_parent_path(const std::u16string& text) {
  ++parents;
  if (text.empty()) ++misuses;
  const std::size_t slash = text.rfind(u'/');
  if (slash == std::u16string::npos || text.size() == 1) return {};
  std::u16string parent = text.substr(0, slash == 0 || is("PATH_001: parents keep the slash") ? slash + 1 : slash);
  std::replace(parent.begin(), parent.end(), u'/', u'\\');  // not native: make_native_form is needed
  return parent;
}

std::u16string fl::filesystem::detail::make_native_form(const std::u16string& text, bool flag) {
  if (text.empty() || !flag) ++misuses;
  std::u16string native = text;
  if (!is("PATH_001: the native form is the given one")) std::replace(native.begin(), native.end(), u'\\', u'/');
  return native;
}

std::u16string project::metadata::generateUUID() {
  static std::atomic<int> made{0};
  const std::string number = std::to_string(++made % (is("UUID_001: UUIDs repeat") ? 500 : 1000000));
  return u"uuid-" + std::u16string(number.begin(), number.end());
}

const char* foundation::core::except::IException::what() const noexcept {
  return is("ERROR_001: there is no narrow text") ? nullptr : "host: what";
}

std::u16string foundation::core::except::IMsgIDException::GetUnicodeMessageTxt() const {
  if (is("ERROR_001: a message throws")) throw std::string(memory_host::fault);
  return u"host: message";
}

std::string foundation::core::except::IMsgIDException::get_error_id(const resource_core::BaseMsgID& record) {
  ++errorIdentifiers;
  return record.component + ":" + record.key +
         (is("ERROR_001: identifiers change") ? std::to_string(errorIdentifiers) : "");
}

void foundation::core::diag::stacktrace_base::capture(std::size_t) {
  size_ = static_cast<std::size_t>(backtrace(entries_.data(), max_size));
  if (is("ERROR_001: a stack trace is longer than its room")) size_ = max_size + 1;
}
