#pragma once

#include <exception>
#include <string>
#include <utility>

#include "foundation/core/diag/stacktrace_base.h"

#pragma GCC visibility push(default)

namespace computils::exception {

// An error that remembers a message and the stack on which it was made.
class StackTraceRecordingException : public std::exception {
 public:
  StackTraceRecordingException() { stackTrace_.capture(0); }
  explicit StackTraceRecordingException(std::u16string message) : message_(std::move(message)) {
    stackTrace_.capture(0);
  }

  const std::u16string& message() const noexcept { return message_; }
  const foundation::core::diag::stacktrace_base& stackTrace() const noexcept { return stackTrace_; }

 private:
  std::u16string message_;
  foundation::core::diag::stacktrace_base stackTrace_;
};

}  // namespace computils::exception

#pragma GCC visibility pop
