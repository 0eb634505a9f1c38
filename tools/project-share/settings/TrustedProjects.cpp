#include "settings/TrustedProjects.h"

#include "settings/SettingsFile.h"

namespace project_share {

namespace {

constexpr SettingsFile FILE_OF_PROJECTS{"trusted.json", "trusted", ", meanwhile --trust opens a project"};

}  // namespace

TrustedProjects trustedProjects() {
  TrustedProjects projects;
  readSettings(FILE_OF_PROJECTS, [&](const nlohmann::json& project) {
    projects.push_back({pathIn(project, "project").value_or(""), project.at("owner").get<uid_t>()});
  });
  return projects;
}

void changeTrustedProjects(const std::function<void(TrustedProjects&)>& change) {
  changeSettings(FILE_OF_PROJECTS, [&] {
    TrustedProjects projects = trustedProjects();
    change(projects);
    Json list = Json::array();
    for (const TrustedProject& project : projects) {
      list.push_back(Json::object());
      putPath(list.back(), "project", project.root);
      list.back()["owner"] = project.owner;
    }
    return list;
  });
}

}  // namespace project_share
