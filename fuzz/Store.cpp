// A project whose store is any bytes.

#include <fstream>

#include "Fuzz.h"
#include "Program.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  makeProject();
  std::ofstream(".project/store.db").write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  runProgram(
      "label list\nstatus\nprofile list\nprofile show public\npreview public\nshare public ../copy --receipt "
      "../receipt\n"
      "label attach a/out open\nlabel delete a/out\nprofile duplicate public other\nprofile delete "
      "public\nlog\nundo\nundo 1\nexport",
      false);
  return 0;
}
