#pragma once

#include <exception>

namespace project_share {

// Thrown where a signal asked the program to stop.
class Interrupted : public std::exception {
 public:
  ~Interrupted() override;
  const char* what() const noexcept override { return "interrupted"; }
};

// While one of these stands, SIGINT, SIGTERM and SIGHUP do not end the program but wait for check(), so that what was
// begun is cleaned up. When this object ends by the exception, the signal gets its due. One at a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Throws Interrupted once a signal has come.
  void check() const;

 private:
  int exceptions_ = std::uncaught_exceptions();
};

}  // namespace project_share
