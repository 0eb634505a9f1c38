// A project whose store is any bytes.

#include "Fuzz.h"
#include "Program.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  makeProject();
  replaceStore({reinterpret_cast<const char*>(bytes), size});
  runProgram(
      "label list\nstatus\nprofile list\nprofile show public\npreview public\nshare public ../copy --receipt "
      "../receipt\n"
      "label attach a/out open\nlabel delete a/out\nprofile duplicate public other\nprofile delete public",
      false);
  return 0;
}
