#pragma once

#pragma GCC visibility push(default)

namespace foundation::core::except {

// An error that can be copied and thrown again without its type being known.
class IException {
 public:
  // Gives narrow text for logs. The host defines this function; an error type's override calls that definition.
  virtual const char* what() const noexcept = 0;

  // Gives a copy on the heap, which the caller owns.
  virtual IException* clone() const = 0;

  // Throws a copy.
  [[noreturn]] virtual void rethrow() const = 0;

  virtual ~IException() = default;
};

}  // namespace foundation::core::except

#pragma GCC visibility pop
