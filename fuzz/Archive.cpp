// A copy that is one file of any bytes.

#include <sys/mman.h>

#include <set>

#include "Fuzz.h"
#include "folder_host/Error.h"
#include "folder_host/share/read/ArchiveContent.h"

using namespace folder_host;

namespace {

constexpr std::uint64_t MOST = std::uint64_t{1} << 24U;

void read(const std::uint8_t* bytes, std::size_t size, bool wantsContent) {
  Descriptor file(::memfd_create("fed", MFD_CLOEXEC));
  writeAll(file, {reinterpret_cast<const char*>(bytes), size});
  std::set<std::string> paths;
  std::uint64_t expanded = 0;
  const auto copy = openArchiveCopy(std::move(file), "fed", MOST);
  copy->forEach([&](const CopyEntry& entry) { return wantsContent && !entry.isOther; },
                [&](const CopyEntry& entry) {
                  require(paths.insert(entry.path).second, "a name comes once");
                  const bool isHashed = wantsContent && entry.kind == EntryKind::file && !entry.isOther;
                  require(entry.sha256.empty() != isHashed, "content is read where it is wanted");
                },
                [&](std::uint64_t told) { expanded += told; });
  require(expanded <= MOST, "no more is expanded than may be");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  for (const bool wantsContent : {true, false}) {
    try {
      read(bytes, size, wantsContent);
    } catch (const Error& error) {
      require(error.identifier() == std::string(errors::ARCHIVE_UNREADABLE), "what is no copy is refused");
    }
  }
  return 0;
}
