#pragma once

#include <array>
#include <cstddef>

#pragma GCC visibility push(default)

namespace foundation::core::diag {

// Return addresses on a thread's stack, the innermost first.
class stacktrace_base {
 public:
  static constexpr std::size_t max_size = 128;

  std::size_t size() const noexcept { return size_; }

  // Gives the address at `index`, which must be below size().
  const void* operator[](std::size_t index) const noexcept { return entries_[index]; }

  // Fills this object with the caller's stack, without the innermost `skip` frames. The host defines this function.
  void capture(std::size_t skip);

 private:
  std::array<void*, max_size> entries_{};
  std::size_t size_ = 0;
};

}  // namespace foundation::core::diag

#pragma GCC visibility pop
