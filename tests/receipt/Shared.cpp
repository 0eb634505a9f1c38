#include "Shared.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <sstream>

#include "CommandLine.h"
#include "judgement/Judge.h"

namespace project_share {

// A run works in its project's folder; the folder of a test goes with it.
SharedProject::~SharedProject() { std::filesystem::current_path("/"); }

SharedProject::SharedProject() {
  put("p/drafts/secret", "secret");
  put("p/open", "open");
  put("p/sub/deep", "deep");
  std::filesystem::create_symlink("open", in("p/link"));
  for (const char* file : {"p/drafts/secret", "p/open", "p/sub/deep"}) setTime(file, 1, 5);
  for (const char* words : {"init", "label attach --create a/in drafts", "label attach --create a/out open sub",
                            "profile create public --hold-back in"}) {
    type(words);
  }
}

void SharedProject::type(const std::string& words) const {
  std::vector<std::string> all{"project-share", "--quiet", "-C", in("p")};
  std::istringstream stream(words);
  for (std::string word; stream >> word;) {
    if (const auto at = word.find("IN/"); at != std::string::npos) word.replace(at, 2, folder_.string());
    all.push_back(word);
  }
  std::vector<char*> argv;
  argv.reserve(all.size() + 1);
  for (std::string& word : all) argv.push_back(word.data());
  argv.push_back(nullptr);
  if (runCommandLine(static_cast<int>(all.size()), argv.data()) != 0) throw std::runtime_error("usage: " + words);
}

Judged SharedProject::judged(const std::string& profile, const std::string& from, const std::string& folder) const {
  Judged result;
  result.copy = project(folder).workingCopy();
  if (!from.empty()) result.copy->setScope(result.copy->table().find(from).value());
  result.profile = findProfile(*managerOf(*result.copy), profile);
  result.judgement = judge(*result.copy, *result.profile);
  return result;
}

void SharedProject::setTime(const std::string& file, int seconds, int nanoseconds) const {
  const timespec time{978307200 + seconds, nanoseconds};
  const timespec times[] = {time, time};
  if (::utimensat(AT_FDCWD, in(file).c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) throw std::runtime_error(file);
}

}  // namespace project_share
