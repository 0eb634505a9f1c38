#pragma once

#include <string>

#include "foundation/core/except/IMsgIDException.h"

#pragma GCC visibility push(default)

namespace foundation::core::except {

// An error of the host's family `Base` (derived from std::exception) that carries the message record `X`. It can be
// caught as itself, as `Base`, or as IMsgIDException.
template <class X, class Base>
class Exception : public Base, public IMsgIDException {
 public:
  // Computes the identifier, once: a copy takes it over.
  Exception(const Base& base, const X& record) : Base(base), record_(record), id_(get_error_id(record)) {}
  Exception(const Exception&) = default;

  const X& GetBaseMsgIDObj() const override { return record_; }
  std::string GetID() const override { return id_; }
  const char* what() const noexcept override { return IException::what(); }
  std::u16string GetUnicodeMessageTxt() const override { return IMsgIDException::GetUnicodeMessageTxt(); }
  Exception* clone() const override { return new Exception(*this); }
  [[noreturn]] void rethrow() const override { throw Exception(*this); }
  ~Exception() override = default;

 private:
  X record_;
  std::string id_;
};

}  // namespace foundation::core::except

#pragma GCC visibility pop
