#include "OtherProcess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "project/metadata/MetadataManager.h"

namespace host_conformance {

namespace {

constexpr const char* ASKED = "HOST_CONFORMANCE_TELLS_UUIDS_TO";  // a descriptor

std::vector<std::string> argumentsOfThisProcess() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::vector<std::string> all;
  for (std::string one; std::getline(file, one, '\0');) all.push_back(one);
  return all;
}

// This program, with an end of a pipe to write to.
pid_t runAgain(int descriptor) {
  std::vector<std::string> arguments = argumentsOfThisProcess();
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  setenv(ASKED, std::to_string(descriptor).c_str(), 1);
  pid_t process = -1;
  if (posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, pointers.data(), environ) != 0) process = -1;
  unsetenv(ASKED);
  return process;
}

std::string readToTheEnd(int descriptor) {
  std::string all;
  std::array<char, 4096> some{};
  for (ssize_t size = 0; (size = read(descriptor, some.data(), some.size())) > 0;) {
    all.append(some.data(), static_cast<std::size_t>(size));
  }
  return all;
}

// Units as numbers, so that any text is told.
std::string told(const std::u16string& text) {
  std::string numbers;
  for (const char16_t unit : text) numbers += std::to_string(static_cast<unsigned>(unit)) + ' ';
  return numbers;
}

std::u16string heard(const std::string& numbers) {
  std::istringstream stream(numbers);
  std::u16string text;
  for (unsigned unit = 0; stream >> unit;) text += static_cast<char16_t>(unit);
  return text;
}

}  // namespace

std::vector<std::u16string> uuidsOfThisProcess() {
  std::vector<std::u16string> uuids(1000);
  for (std::u16string& uuid : uuids) uuid = project::metadata::generateUUID();
  return uuids;
}

std::vector<std::u16string> uuidsOfAnotherProcess() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return {};
  const pid_t process = runAgain(ends[1]);
  close(ends[1]);
  std::istringstream lines(readToTheEnd(ends[0]));
  close(ends[0]);
  if (process > 0) waitpid(process, nullptr, 0);
  std::vector<std::u16string> uuids;
  for (std::string line; std::getline(lines, line);) uuids.push_back(heard(line));
  return uuids;
}

void tellUuidsIfAsked() {
  const char* descriptor = std::getenv(ASKED);
  if (!descriptor) return;
  for (const std::u16string& uuid : uuidsOfThisProcess()) dprintf(std::stoi(descriptor), "%s\n", told(uuid).c_str());
  std::_Exit(0);
}

}  // namespace host_conformance
