#include "AllocationFault.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

namespace {

constexpr std::size_t never = static_cast<std::size_t>(-1);
thread_local std::size_t countdown = never;
thread_local bool fired = false;
thread_local std::size_t allocations = 0;

void* allocate(std::size_t size) {
  ++allocations;
  if (countdown != never && countdown-- == 0) {
    countdown = never;
    fired = true;
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

bool runsOutOfMemory(std::size_t index, const std::function<void()>& action) {
  bool failed = false;
  fired = false;
  countdown = index;
  try {
    action();
  } catch (const std::bad_alloc&) {
    failed = true;
  } catch (...) {
    countdown = never;
    throw;
  }
  countdown = never;
  if (fired != failed) throw std::logic_error("a failed allocation was swallowed");
  return failed;
}

std::size_t allocationsOf(const std::function<void()>& action) {
  const std::size_t before = allocations;
  action();
  return allocations - before;
}

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
// What may fail without being told does not.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size == 0 ? 1 : size); }

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
