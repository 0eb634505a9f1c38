// Runs the suite for hosts on the tiny host.
#include <gtest/gtest.h>

#include "Hooks.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  host_conformance::registerSuite("TinyHost",
                                  [] { return tiny_host::hostOf(std::make_shared<tiny_host::TinyProject>()); });
  return RUN_ALL_TESTS();
}
