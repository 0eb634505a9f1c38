#pragma once

#include "resource_core/BaseMsgID.h"

namespace folder_host {

// The host's text for one message record.
struct Message {
  const char* key;
  const char* summary;       // one line that needs no argument
  const char16_t* sentence;  // one line; "%1" stands for the first argument
};

// The message of a record; null where the catalogue has none. Lives as long as the program.
const Message* findMessage(const resource_core::BaseMsgID& record) noexcept;

// The sentence of a record with its arguments; of a record without a message its identifier and arguments.
std::u16string messageText(const resource_core::BaseMsgID& record);

// "component:key"
std::string messageIdentifier(const resource_core::BaseMsgID& record);

}  // namespace folder_host
