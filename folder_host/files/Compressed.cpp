#include "folder_host/files/Compressed.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace folder_host {

namespace {

struct FreeEntry {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

// What the library finds wrong itself has no number, or that of a wrong format.
[[noreturn]] void fail(struct archive* compressed) {
  const int code = archive_errno(compressed);
  throw std::system_error(code > 0 && code != EILSEQ ? code : EBADMSG, std::generic_category());
}

}  // namespace

void Compressor::Free::operator()(struct archive* compressed) const noexcept { archive_write_free(compressed); }
void Expander::Free::operator()(struct archive* compressed) const noexcept { archive_read_free(compressed); }

void Compressor::require(int result) {
  if (result < ARCHIVE_OK) fail(compressed_.get());
}

// The lowest level: what is written here is alike line by line, and a share waits for it.
Compressor::Compressor(const Descriptor& file) : compressed_(archive_write_new()) {
  if (!compressed_) throw std::bad_alloc();
  require(archive_write_add_filter_zstd(compressed_.get()));
  require(archive_write_set_filter_option(compressed_.get(), "zstd", "compression-level", "1"));
  require(archive_write_set_format_raw(compressed_.get()));
  require(archive_write_set_bytes_in_last_block(compressed_.get(), 1));
  require(archive_write_open_fd(compressed_.get(), file.get()));
  const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
  if (!entry) throw std::bad_alloc();
  archive_entry_set_filetype(entry.get(), S_IFREG);
  require(archive_write_header(compressed_.get(), entry.get()));
}

void Compressor::add(std::string_view bytes) {
  while (!bytes.empty()) {
    const la_ssize_t written = archive_write_data(compressed_.get(), bytes.data(), bytes.size());
    if (written <= 0) fail(compressed_.get());
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Compressor::finish() { require(archive_write_close(compressed_.get())); }

Expander::Expander(const Descriptor& file) : compressed_(archive_read_new()) {
  constexpr std::size_t BLOCK = std::size_t{1} << 16U;
  struct archive* const compressed = compressed_.get();
  if (compressed == nullptr) throw std::bad_alloc();
  archive_entry* entry = nullptr;
  if (archive_read_append_filter(compressed, ARCHIVE_FILTER_ZSTD) != ARCHIVE_OK ||
      archive_read_support_format_raw(compressed) != ARCHIVE_OK ||
      archive_read_open_fd(compressed, file.get(), BLOCK) != ARCHIVE_OK ||
      archive_read_next_header(compressed, &entry) != ARCHIVE_OK) {
    fail(compressed);
  }
}

std::string_view Expander::next() {
  const void* bytes = nullptr;
  std::size_t size = 0;
  la_int64_t offset = 0;
  const int result = archive_read_data_block(compressed_.get(), &bytes, &size, &offset);
  if (result == ARCHIVE_EOF) return {};
  if (result != ARCHIVE_OK || size == 0) fail(compressed_.get());
  return {static_cast<const char*>(bytes), size};
}

}  // namespace folder_host
