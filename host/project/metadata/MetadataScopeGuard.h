#pragma once

#include <functional>
#include <utility>

#pragma GCC visibility push(default)

namespace project::metadata {

// Holds a scope of the metadata store open and ends it once, when the guard is destroyed. A guard can be moved, but not
// copied. One that was moved from is empty and ends nothing; one that is assigned to ends its own scope first.
class MetadataScopeGuard {
 public:
  // `end` may be empty. What it throws is dropped.
  explicit MetadataScopeGuard(std::function<void()> end) noexcept : end_(std::move(end)) {}

  MetadataScopeGuard(MetadataScopeGuard&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
  MetadataScopeGuard& operator=(MetadataScopeGuard&& other) noexcept {
    if (this != &other) {
      endScope();
      end_ = std::exchange(other.end_, nullptr);
    }
    return *this;
  }
  MetadataScopeGuard(const MetadataScopeGuard&) = delete;
  MetadataScopeGuard& operator=(const MetadataScopeGuard&) = delete;
  ~MetadataScopeGuard() { endScope(); }

 private:
  void endScope() noexcept {
    const std::function<void()> end = std::exchange(end_, nullptr);
    if (!end) return;
    try {
      end();
    } catch (...) {  // a destructor has nobody to tell; the host remembers what failed
    }
  }

  std::function<void()> end_;
};

}  // namespace project::metadata

#pragma GCC visibility pop
