#pragma once

#include <array>
#include <cstddef>

#pragma GCC visibility push(default)

namespace foundation::core::diag {

// Return addresses of the calling thread, the innermost first.
class stacktrace_base {
 public:
  static constexpr std::size_t max_size = 128;

  std::size_t size() const noexcept { return size_; }

  // The entry at `index`, which is below size().
  const void* operator[](std::size_t index) const noexcept { return entries_[index]; }

  // Fills this object with the caller's stack, less the innermost `skip` frames; defined by the host.
  void capture(std::size_t skip);

 private:
  std::array<void*, max_size> entries_{};
  std::size_t size_ = 0;
};

}  // namespace foundation::core::diag

#pragma GCC visibility pop
