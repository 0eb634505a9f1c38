#pragma once

#include <optional>
#include <string>
#include <vector>

// One function a command. Each works on the project that holds the working directory, prints what it did or found, and
// throws what keeps it from that (folder_host::Error, Refusal, the library's errors): nothing has changed then.
namespace project_share {

void initProject(const std::string& folder);
// That the project of another user that holds the folder is opened from now on, or no more.
void trustProject(const std::string& folder);
void forgetProject(const std::string& folder);
// What is labelled, what is not, and what a share by each profile would be refused for.
void showStatus();

// All of them or none.
void createLabels(const std::vector<std::string>& labels);
void listLabels();
void renameLabel(const std::string& label, const std::string& name);
void deleteLabel(const std::string& label);
// No filter may remove a protected label from a copy.
void protectLabel(const std::string& label, bool isProtected);
// To folders with all that lies below them, or to the folders alone.
void attachLabel(const std::string& label, const std::vector<std::string>& paths, bool folderOnly);
// From what is named and carries it, there or missing. A file that is named may also be shared from then on, with what
// it holds, where that is what the label holds back elsewhere.
void detachLabel(const std::string& label, const std::vector<std::string>& paths, bool folderOnly);
// The paths on standard input, each ended by `end`. Error: INPUT_FAILED.
std::vector<std::string> readPaths(char end);

void createProfile(const std::string& name);
void listProfiles();
void showProfile(const std::string& profile);
void renameProfile(const std::string& profile, const std::string& name);
void duplicateProfile(const std::string& profile, const std::string& name);
void deleteProfile(const std::string& profile);
// To the filter of that kind where the profile has one: stored filters of one kind would become one.
void addFilter(const std::string& profile, const std::string& kind, const std::vector<std::string>& labels);
// The labels named, or without any the whole filter of that kind.
void removeFilter(const std::string& profile, const std::string& kind, const std::vector<std::string>& labels);
void explainProfile(const std::string& profile);

void previewProfile(const std::string& profile);
// Why one path is shared or held back.
void explainPath(const std::string& path, const std::string& profile);

// What one --allow names: all risks of a kind, or the one at a path.
struct Allowed {
  std::string identifier;
  std::optional<std::string> path;
};

struct ShareWords {
  std::optional<std::string> profile;  // none: the whole project
  std::string destination;
  std::vector<Allowed> allowed;
  bool strict = false;  // notes are risks, too
  std::string receipt;  // a file to be made; empty: none
};
void share(const ShareWords& words);
// Whether a copy is what went out by the receipt.
void verifyCopy(const std::string& copy, const std::string& receipt);

}  // namespace project_share
