#pragma once

#include <string>
#include <variant>
#include <vector>

#pragma GCC visibility push(default)

namespace resource_core {

// Names a message of the host's catalogue, and holds the values for its placeholders in their order.
struct BaseMsgID {
  std::vector<std::variant<long, std::string, std::u16string>> arguments;
  std::string component;
  std::string key;
};

}  // namespace resource_core

#pragma GCC visibility pop
