#pragma once

#include "computils/exception/StackTraceRecordingException.h"

#pragma GCC visibility push(default)

namespace project::exception {

// The base class of all errors about a project.
class ProjectException : public computils::exception::StackTraceRecordingException {
 public:
  using StackTraceRecordingException::StackTraceRecordingException;
};

}  // namespace project::exception

#pragma GCC visibility pop
