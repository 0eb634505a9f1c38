#pragma once

#include <string>

#include "foundation/core/except/IException.h"
#include "resource_core/BaseMsgID.h"

#pragma GCC visibility push(default)

namespace foundation::core::except {

// An error that names its message by a record of the message catalogue.
class IMsgIDException : public IException {
 public:
  virtual const resource_core::BaseMsgID& GetBaseMsgIDObj() const = 0;

  // Gives the stable identifier that get_error_id gave for the record when the error was made.
  virtual std::string GetID() const = 0;

  // Gives the message text, arguments included. The host defines this function; an error type's override calls that
  // definition.
  virtual std::u16string GetUnicodeMessageTxt() const = 0;

  // Gives the identifier of a record. The host defines this function.
  static std::string get_error_id(const resource_core::BaseMsgID& record);
};

}  // namespace foundation::core::except

#pragma GCC visibility pop
