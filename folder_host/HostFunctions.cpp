// The functions that the host's headers declare and leave to the host.

#include <execinfo.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <array>

#include "fl/filesystem/path.h"
#include "folder_host/MessageCatalogue.h"
#include "folder_host/text/Utf.h"
#include "foundation/core/diag/stacktrace_base.h"
#include "foundation/core/except/IMsgIDException.h"
#include "project/metadata/MetadataManager.h"

namespace fl::filesystem::detail {

std::u16string extract_parent_path(const std::u16string& text) {
  const std::u16string native = make_native_form(text, true);
  const std::size_t separator = native.rfind(u'/');
  if (separator == std::u16string::npos || native.size() == 1) return {};
  return native.substr(0, std::max<std::size_t>(separator, 1));
}

std::u16string make_native_form(const std::u16string& text, bool /*flag*/) {
  return text.size() > 1 && text.back() == u'/' ? text.substr(0, text.size() - 1) : text;
}

}  // namespace fl::filesystem::detail

namespace project::metadata {

std::u16string generateUUID() {
  uuid_t uuid;
  std::array<char, UUID_STR_LEN> text{};
  uuid_generate_random(uuid);  // never from the time and the network card
  uuid_unparse_lower(uuid, text.data());
  return folder_host::fromBytes(text.data());
}

}  // namespace project::metadata

namespace foundation::core::except {

// A constant of the catalogue and no text that is made: nothing may be thrown here, and the result has to stay.
const char* IException::what() const noexcept {
  const auto* error = dynamic_cast<const IMsgIDException*>(this);
  const folder_host::Message* message = error == nullptr ? nullptr : folder_host::findMessage(error->GetBaseMsgIDObj());
  return message == nullptr ? "an error without a message in the catalogue" : message->summary;
}

std::string IMsgIDException::get_error_id(const resource_core::BaseMsgID& record) {
  return folder_host::messageIdentifier(record);
}

std::u16string IMsgIDException::GetUnicodeMessageTxt() const { return folder_host::messageText(GetBaseMsgIDObj()); }

}  // namespace foundation::core::except

namespace foundation::core::diag {

// Not inlined: its own frame is the one that is always left out.
[[gnu::noinline]] void stacktrace_base::capture(std::size_t skip) {
  std::array<void*, 2 * max_size> frames{};
  const int found = backtrace(frames.data(), static_cast<int>(frames.size()));
  const std::size_t callers = found > 0 ? static_cast<std::size_t>(found) - 1 : 0;
  const std::size_t skipped = std::min(skip, callers);
  size_ = std::min(callers - skipped, max_size);
  entries_.fill(nullptr);
  std::copy_n(frames.begin() + 1 + static_cast<std::ptrdiff_t>(skipped), size_, entries_.begin());
}

}  // namespace foundation::core::diag
