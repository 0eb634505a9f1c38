#include "Program.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Fuzz.h"
#include "foundation/core/except/IMsgIDException.h"
#include "tools/project-share/CommandLine.h"
#include "tools/project-share/Refusal.h"

namespace fs = std::filesystem;

namespace {

const std::string& scratch() {
  static std::string name = fs::is_directory("/dev/shm") ? "/dev/shm/fuzz.XXXXXX" : "/tmp/fuzz.XXXXXX";
  static bool isMade = false;  // the name that was given may end like the template
  if (std::exchange(isMade, true)) return name;
  require(::mkdtemp(name.data()) != nullptr && std::freopen("/dev/null", "r", stdin) != nullptr, "there is a scratch");
  std::atexit([] { fs::remove_all(name); });
  fs::create_directories(name + "/model/drafts");
  fs::current_path(name + "/model");
  std::ofstream("drafts/plan") << "plan";
  std::ofstream("open") << "open";
  fs::create_symlink("open", "link");
  runProgram(
      "init\nlabel create a/in a/out\nlabel attach a/in drafts\n"
      "profile create public\nprofile add-filter public drop-files a/in",
      true);
  return name;
}

int exitCode(std::string line, bool isTrusted) {
  std::vector<char*> words = {line.data()};
  for (char& c : line) {
    if (c == ' ') c = '\0', words.push_back(&c + 1);
  }
  const int count = static_cast<int>(words.size());
  words.push_back(nullptr);
  try {
    return project_share::runCommandLine(count, words.data());
  } catch (const project_share::Refusal&) {  // of the tool or the host
    return 1;
  } catch (const foundation::core::except::IMsgIDException&) {
    return 1;
  } catch (const std::out_of_range&) {
    return isTrusted ? -1 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return -1;
  }
}

}  // namespace

void makeProject() {
  fs::current_path(scratch());
  for (const char* folder : {"project", "copy", "receipt"}) fs::remove_all(folder);
  fs::copy("model", "project", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  fs::current_path("project");
}

void runProgram(const std::string& lines, bool isTrusted) {
  const fs::path folder = fs::current_path();
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) {
    const int code = exitCode("project-share " + line, isTrusted);
    require(code == 0 || code == 1 || code == 2, "a command is done, refused, or no command");
    fs::current_path(folder);
  }
}
