// Feeds a target the files of the folders that are named, as libFuzzer does with -runs=0.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "Fuzz.h"

int main(int argc, char** argv) {
  std::size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    if (*argv[i] == '-') continue;
    for (const auto& file : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream stream(file.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
      std::fprintf(stderr, "%s\n", file.path().c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++files;
    }
  }
  require(files > 0, "there is a corpus");
}
