#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Takes any bytes; whatever breaks a promise ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}
