#include "settings/TrustedProjects.h"

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
#include "output/Json.h"

namespace project_share {

using folder_host::Descriptor;

namespace {

constexpr const char* NAME = "trusted.json";
constexpr const char* UNFINISHED = "trusted.json.new";

// Empty where there is no such absolute path. A relative one would lead into the working directory, which may be a
// stranger's project with settings that trust it.
std::string placeIn(const char* variable) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): the tool has one thread
  return value != nullptr && *value == '/' ? value : "";
}

// Empty where the user has no place for settings.
std::string settingsFolder() {
  const std::string configured = placeIn("XDG_CONFIG_HOME");
  if (!configured.empty()) return configured + "/project-share";
  const std::string home = placeIn("HOME");
  return home.empty() ? home : home + "/.config/project-share";
}

Refusal failed(const std::string& why) {
  return {refusals::SETTINGS_FAILED,
          fmt::format("the settings {}: {}; put them right or move them away, meanwhile --trust opens a project",
                      folder_host::inQuotes(settingsFolder() + "/" + NAME), why)};
}

TrustedProjects parsed(std::FILE* file) {
  TrustedProjects projects;
  const auto all = nlohmann::json::parse(file);
  for (const auto& project : all.at("trusted")) {
    projects.push_back({pathIn(project, "project").value_or(""), project.at("owner").get<uid_t>()});
  }
  return projects;
}

// Under another name until it is whole and durable: settings that were cut off would be refused as broken at each
// project of another user. What a killed process has left under that name is removed.
void write(const Descriptor& folder, const TrustedProjects& projects) {
  Json all{{"trusted", Json::array()}};
  for (const TrustedProject& project : projects) {
    Json object;
    putPath(object, "project", project.root);
    object["owner"] = project.owner;
    all["trusted"].push_back(object);
  }
  if (::unlinkat(folder.get(), UNFINISHED, 0) != 0 && errno != ENOENT) folder_host::throwErrno();
  const Descriptor file = openBeneath(folder, UNFINISHED, O_WRONLY | O_CREAT | O_EXCL, 0600);
  folder_host::writeAll(file, all.dump(2) + "\n");
  if (::fsync(file.get()) != 0 || ::renameat(folder.get(), UNFINISHED, folder.get(), NAME) != 0 ||
      ::fsync(folder.get()) != 0) {
    folder_host::throwErrno();
  }
}

}  // namespace

// Settings that others can write would let them trust themselves.
TrustedProjects trustedProjects() {
  const std::string name = settingsFolder() + "/" + NAME;
  Descriptor file(::open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    throw failed(errno == ELOOP ? "they are a link" : std::generic_category().message(errno));
  }
  // Asked of the open file and not of its name, for which another file may stand a moment later.
  const struct stat status = statusOf(file);
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw failed("they are no file that you alone can write");
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(::fdopen(file.get(), "r"), std::fclose);
  if (!stream) throw failed(std::generic_category().message(errno));
  file.release();
  try {
    return parsed(stream.get());
  } catch (const Json::exception&) {
    throw failed("they cannot be read");
  }
}

void changeTrustedProjects(const std::function<void(TrustedProjects&)>& change) {
  const std::string place = settingsFolder();
  if (place.empty()) throw Refusal(refusals::SETTINGS_FAILED, "there is no place for settings; set HOME");
  try {
    std::filesystem::create_directories(place);
    const Descriptor folder = folder_host::openFolder(place);
    // The folder is locked, because each change puts another file in the place of the settings. They are read under the
    // lock, or of two changes one would be lost.
    if (::flock(folder.get(), LOCK_EX) != 0) folder_host::throwErrno();
    TrustedProjects projects = trustedProjects();
    change(projects);
    write(folder, projects);
  } catch (const std::system_error& error) {
    throw failed(error.code().message());
  }
}

}  // namespace project_share
