#include "settings/SettingsFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdio.h>  // NOLINT(modernize-deprecated-headers): renameat is no part of <cstdio>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include "Refusal.h"
#include "folder_host/files/Descriptor.h"

namespace project_share {

using folder_host::Descriptor;

namespace {

// Empty where there is no such absolute path. A relative one would lead into the working directory, which may be a
// stranger's project with settings that trust it.
std::string placeIn(const char* variable) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): the tool has one thread
  return value != nullptr && *value == '/' ? value : "";
}

std::string settingsFolder() { return ownFolder("XDG_CONFIG_HOME", ".config"); }

Refusal failed(const SettingsFile& file, const std::string& why) {
  return {refusals::SETTINGS_FAILED,
          fmt::format("the settings {}: {}; put them right or move them away{}",
                      folder_host::inQuotes(settingsFolder() + "/" + file.name), why, file.meanwhile)};
}

// Under another name until it is whole and durable: settings that were cut off would be refused as broken whenever they
// are needed. What a killed process has left under that name is removed.
void write(const Descriptor& folder, const SettingsFile& settings, const Json& list) {
  const std::string unfinished = std::string(settings.name) + ".new";
  if (::unlinkat(folder.get(), unfinished.c_str(), 0) != 0 && errno != ENOENT) folder_host::throwErrno();
  const Descriptor file = openBeneath(folder, unfinished, O_WRONLY | O_CREAT | O_EXCL, 0600);
  folder_host::writeAll(file, Json{{settings.list, list}}.dump(2) + "\n");
  if (::fsync(file.get()) != 0 || ::renameat(folder.get(), unfinished.c_str(), folder.get(), settings.name) != 0 ||
      ::fsync(folder.get()) != 0) {
    folder_host::throwErrno();
  }
}

}  // namespace

std::string ownFolder(const char* variable, const char* inHome) {
  const std::string configured = placeIn(variable);
  if (!configured.empty()) return configured + "/project-share";
  const std::string home = placeIn("HOME");
  return home.empty() ? home : home + "/" + inHome + "/project-share";
}

// Settings that others can write would let them trust themselves.
void readSettings(const SettingsFile& settings, const std::function<void(const nlohmann::json&)>& take) {
  const std::string name = settingsFolder() + "/" + settings.name;
  Descriptor file(::open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) return;
    throw failed(settings, errno == ELOOP ? "they are a link" : std::generic_category().message(errno));
  }
  // Asked of the open file and not of its name, for which another file may stand a moment later.
  const struct stat status = statusOf(file);
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw failed(settings, "they are no file that you alone can write");
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(::fdopen(file.get(), "r"), std::fclose);
  if (!stream) throw failed(settings, std::generic_category().message(errno));
  file.release();
  try {
    const auto all = nlohmann::json::parse(stream.get());
    for (const auto& element : all.at(settings.list)) take(element);
  } catch (const Json::exception&) {
    throw failed(settings, "they cannot be read");
  }
}

void changeSettings(const SettingsFile& settings, const std::function<Json()>& change) {
  const std::string place = settingsFolder();
  if (place.empty()) throw Refusal(refusals::SETTINGS_FAILED, "there is no place for settings; set HOME");
  try {
    std::filesystem::create_directories(place);
    const Descriptor folder = folder_host::openFolder(place);
    // The folder is locked, because each change puts another file in the place of the settings. They are read under the
    // lock, or of two changes one would be lost.
    if (::flock(folder.get(), LOCK_EX) != 0) folder_host::throwErrno();
    write(folder, settings, change());
  } catch (const std::system_error& error) {
    throw failed(settings, error.code().message());
  }
}

}  // namespace project_share
