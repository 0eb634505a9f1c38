// The functions that a host process gives the library.

#include <execinfo.h>

#include <algorithm>
#include <string>

#include "foundation/core/diag/stacktrace_base.h"
#include "foundation/core/except/IMsgIDException.h"
#include "memory_host/MemoryHost.h"

namespace {

memory_host::PathQuestions questions;
int errorIdentifiers = 0;

}  // namespace

memory_host::PathQuestions memory_host::pathQuestions() { return questions; }

int memory_host::errorIdentifiersMade() { return errorIdentifiers; }

namespace fl::filesystem::detail {

std::u16string extract_parent_path(const std::u16string& text) {
  ++questions.parents;
  if (text.empty()) ++questions.misuses;
  const std::size_t slash = text.rfind(u'/');
  if (slash == std::u16string::npos || text.size() == 1) return {};
  std::u16string parent = text.substr(0, slash == 0 ? 1 : slash);
  std::replace(parent.begin(), parent.end(), u'/', u'\\');  // not native: make_native_form is needed
  return parent;
}

std::u16string make_native_form(const std::u16string& text, bool flag) {
  if (text.empty() || !flag) ++questions.misuses;
  std::u16string native = text;
  std::replace(native.begin(), native.end(), u'\\', u'/');
  return native;
}

}  // namespace fl::filesystem::detail

namespace project::metadata {

std::u16string generateUUID() {
  static int made = 0;
  const std::string number = std::to_string(++made);
  return u"uuid-" + std::u16string(number.begin(), number.end());
}

}  // namespace project::metadata

namespace foundation::core {

namespace except {

const char* IException::what() const noexcept { return "host: what"; }

std::u16string IMsgIDException::GetUnicodeMessageTxt() const { return u"host: message"; }

std::string IMsgIDException::get_error_id(const resource_core::BaseMsgID& record) {
  ++errorIdentifiers;
  return record.component + ":" + record.key;
}

}  // namespace except

void diag::stacktrace_base::capture(std::size_t) {
  size_ = static_cast<std::size_t>(backtrace(entries_.data(), max_size));
}

}  // namespace foundation::core
