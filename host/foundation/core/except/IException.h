#pragma once

#pragma GCC visibility push(default)

namespace foundation::core::except {

// An error that can be copied and thrown again without its type being known.
class IException {
 public:
  // Narrow text for logs. The host defines it; an error type overrides it by a call of that definition.
  virtual const char* what() const noexcept = 0;

  // A copy on the heap; the caller owns it.
  virtual IException* clone() const = 0;

  // Throws a copy.
  [[noreturn]] virtual void rethrow() const = 0;

  virtual ~IException() = default;
};

}  // namespace foundation::core::except

#pragma GCC visibility pop
