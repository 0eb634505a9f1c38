#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "project/management/ProjectManager.h"

namespace memory_host {

// For messages and call lists: what is not ASCII is "?".
std::string narrow(const std::u16string& text);

// Writes down the calls that reach a host, and makes one of them throw.
class Probe {
 public:
  Probe() { calls_.reserve(ROOM); }

  // From now on: nothing written down, the `index`-th call from here (from 0) throws `thrown`, and so does each one
  // after it where it is lasting.
  void throwAt(std::size_t index, std::exception_ptr thrown, bool isLasting = false);
  void clear() { throwAt(never, nullptr); }

  const std::vector<std::string>& calls() const { return calls_; }

  // Called with each call before it reaches the host: for hosts that meddle.
  std::function<void(const std::string&)> onCall;

  // A call comes in. The wrappers and tests with hosts of their own use it.
  void call(std::string what);
  // A scope has begun; gives its depth. It ends: written down without an allocation, as long as there is room for it.
  std::size_t scopeBegins() noexcept { return ++openScopes_; }
  void scopeEnds(const char* what, std::size_t depth) noexcept;

  std::size_t openScopes() const { return openScopes_; }
  // Whether each scope outlived those that began in it.
  bool scopesAreNested() const { return areNested_; }

 private:
  static constexpr std::size_t ROOM = 1000;
  static constexpr std::size_t never = static_cast<std::size_t>(-1);

  std::vector<std::string> calls_;
  std::size_t throwAt_ = never;
  std::exception_ptr fault_;
  bool isLasting_ = false;
  std::size_t openScopes_ = 0;
  bool areNested_ = true;
};

// Puts the probe between the library and any host. The nodes that the metadata gives are probed too. The host and the
// probe have to outlive what is returned.
std::unique_ptr<project::management::ProjectManager> probed(project::management::ProjectManager& host, Probe& probe);
std::shared_ptr<project::metadata::MetadataManager> probed(
    const std::shared_ptr<project::metadata::MetadataManager>& host, Probe& probe);

}  // namespace memory_host
