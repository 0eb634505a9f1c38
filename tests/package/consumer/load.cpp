#include <dlfcn.h>
#include <cstdio>

int main() {
  const bool isLoaded = dlopen(LIBRARY, RTLD_NOW) != nullptr;
  if (!isLoaded) std::puts(dlerror());
  return isLoaded ? 0 : 1;
}
