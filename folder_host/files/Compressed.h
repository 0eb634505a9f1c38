#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "folder_host/files/Descriptor.h"

struct archive;

namespace folder_host {

// Bytes that stand compressed in a file (zstd), one at least. Everything here fails with std::system_error; what is
// damaged, or holds none, is EBADMSG.

// Writes at the file's position. Nothing is whole before finish().
class Compressor {
 public:
  // The file outlives this object.
  explicit Compressor(const Descriptor& file);
  void add(std::string_view bytes);
  void finish();

 private:
  struct Free {
    void operator()(struct archive* compressed) const noexcept;
  };
  void require(int result);

  std::unique_ptr<struct archive, Free> compressed_;
};

// Reads from the file's position to its end, whoever wrote it.
class Expander {
 public:
  // The file outlives this object.
  explicit Expander(const Descriptor& file);
  // The next bytes, good until the next call; none at the end.
  std::string_view next();

 private:
  struct Free {
    void operator()(struct archive* compressed) const noexcept;
  };
  std::unique_ptr<struct archive, Free> compressed_;
};

}  // namespace folder_host
