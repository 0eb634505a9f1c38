#pragma once

#include <cstddef>
#include <functional>

// Runs the action with its `index`-th allocation (from 0) failing. True when std::bad_alloc left it, false when it made
// fewer allocations; a failure that is swallowed is a std::logic_error.
bool runsOutOfMemory(std::size_t index, const std::function<void()>& action);

// The number of allocations that the action makes.
std::size_t allocationsOf(const std::function<void()>& action);
