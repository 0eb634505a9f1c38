#include "RandomProject.h"

#include <sys/xattr.h>

#include <algorithm>
#include <random>
#include <set>

#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace hand_out {

namespace fs = std::filesystem;

using namespace folder_host;
using namespace project::sharing::profiles;

std::string canary(int number) { return "cNry" + std::to_string(1000000 + number).substr(1) + "x"; }

std::array<std::string, 3> encoded(const std::string& ascii) {
  std::array<std::string, 3> bytes;
  for (const char c : ascii) bytes[0] += c, bytes[1] += {c, '\0'}, bytes[2] += {'\0', c};
  return bytes;
}

namespace {

std::u16string nameOf(int number) { return fromBytes("\xC3\xA9 " + canary(number)); }

class Planter {
 public:
  Planter(const std::string& folder, unsigned seed)
      : folder_(folder), random_(seed), project_(FolderProject::init(folder)) {}

  Planted run() {
    {
      const auto scope = project_.beginWrite();
      for (std::size_t left = 5 + below(36); left > 0; --left) addEntry();
      for (std::size_t left = 1 + below(3); left > 0; --left) addCategory();
      for (std::size_t left = 1 + below(3); left > 0; --left) addProfile();
    }
    project_.confirm();
    for (const std::string& path : paths_) renameFile(path);
    for (const auto& label : labels_) maybeDelete(label.uuid, [&] { project_.labels().erase(label.uuid); });
    for (const auto& profile : profiles_) maybeDelete(profile->getUUID(), [&] { manager_->deleteProfile(profile); });
    return planted_;
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  bool oneIn(std::size_t chances) { return below(chances) == 0; }
  template <class List>
  auto oneOf(const List& list) {
    return list[below(list.size())];
  }

  // Numbered names never differ in case alone.
  std::string pathIn(const std::string& folder) {
    static const std::vector<std::string> begins = {"", "", "", "-", " ", "\n", "\xFF", "[a,b]", "."};
    static const std::vector<std::string> ends = {"", "", "", " ", "\n", "\xC3", "]"};
    const std::string begin = oneOf(begins);
    return joined(folder, begin + canary(next_++) + oneOf(ends));
  }

  void addEntry() {
    const std::string folder = oneOf(folders_);
    paths_.push_back(pathIn(folder));
    const fs::path path = onDisk(paths_.back());
    if (oneIn(4)) {
      fs::create_directory(path);
      if (std::count(folder.begin(), folder.end(), '/') < 2) folders_.push_back(paths_.back());
    } else if (oneIn(4)) {
      fs::create_symlink(target(folder), path);
    } else {
      const std::string begin(below(6), '.');
      write(path, begin + oneOf(encoded(canary(next_++))));
    }
    const std::string note = canary(next_++);  // where the file system takes it
    if (oneIn(4)) ::lsetxattr(path.c_str(), ("user." + note).c_str(), note.data(), note.size(), 0);
  }

  fs::path target(const std::string& folder) {
    if (oneIn(6)) return canary(next_++);  // nowhere
    const bool outside = oneIn(6);
    const fs::path target = outside ? fs::path(folder_).parent_path() / canary(0) : onDisk(oneOf(paths_));
    return outside && oneIn(2) ? target : target.lexically_relative(onDisk(folder));
  }

  void addCategory() {
    const int category = next_++;
    for (std::size_t left = 1 + below(4); left > 0; --left) {
      const LabelRecord label = project_.labels().create(nameOf(category), nameOf(next_));
      planted_.named[label.categoryUUID] = category;
      planted_.named[label.uuid] = next_++;
      if (oneIn(4)) project_.labels().setProtected(label.uuid, true);
      attach(label.uuid);
      labels_.push_back(label);
    }
  }

  // Mostly to whole folders, as people do.
  void attach(const std::u16string& label) {
    std::set<std::string> labelled;
    for (const std::string& path : paths_) {
      const bool inLabelled = labelled.count(fs::path(path).parent_path()) != 0;
      if (inLabelled != oneIn(8)) labelled.insert(path);
    }
    for (const std::string& path : labelled) {
      const auto kind = oneIn(2) ? MarkKind::entry : oneIn(6) ? MarkKind::exception : MarkKind::reach;
      project_.labels().attach(label, {path}, kind);
    }
    if (oneIn(4)) project_.labels().setRules(label, {"*1*", "!*12*"});
  }

  // The last one is the one to hand out by.
  void addProfile() {
    const auto profile = manager_->createProfile(nameOf(next_));
    planted_.profile = profile->getUUID();
    planted_.named[planted_.profile] = next_++;
    for (std::size_t left = 1 + below(4); left > 0; --left) addFilter(*profile);
    profile->save();
    profiles_.push_back(profile);
  }

  void addFilter(ExportProfile& profile) {
    const bool drops = oneIn(2);
    std::vector<ExportStrategyItem> items;
    for (const LabelRecord& label : labels_) {
      if (oneIn(4) == drops) items.emplace_back(label.categoryUUID, label.uuid);
    }
    const std::u16string& ofFiles = drops ? EXCLUDE_FILES_WITH_LABEL : INCLUDE_FILES_WITH_LABEL;
    profile.addFilter(oneIn(2) ? ofFiles : drops ? EXCLUDE_LABEL : INCLUDE_LABEL, items);
  }

  // Its labels stay on the path that is gone.
  void renameFile(const std::string& path) {
    if (oneIn(8) && fs::is_regular_file(fs::symlink_status(onDisk(path)))) {
      fs::rename(onDisk(path), onDisk(pathIn(fs::path(path).parent_path())));
    }
  }

  template <class Delete>
  void maybeDelete(const std::u16string& uuid, const Delete& byCall) {
    if (uuid == planted_.profile || !oneIn(4)) return;
    planted_.deleted.push_back(planted_.named[uuid]);
    if (oneIn(2)) return byCall();
    const auto store = Store::open(onDisk(".project/store.db"));
    store->query("PRAGMA secure_delete = OFF");
    store->atomically([&, id = toBlob(uuid)] {
      store->run("DELETE FROM mark WHERE label = ?", {id});
      store->run("DELETE FROM rule WHERE label = ?", {id});
      store->run("DELETE FROM label WHERE uuid = ?", {id});
      store->run("DELETE FROM node_value WHERE instr(node, ?)", {id});
      store->run("DELETE FROM node WHERE location = ? OR instr(parent, ?)", {id, id});
    });
  }

  fs::path onDisk(const std::string& path) const { return joined(folder_, path); }

  const std::string folder_;
  std::mt19937 random_;
  FolderProject project_;
  std::unique_ptr<ExportProfileManager> manager_ = createManager(project_.metadata());
  Planted planted_;
  int next_ = 1;
  std::vector<std::string> folders_ = {""};
  std::vector<std::string> paths_;
  std::vector<LabelRecord> labels_;
  std::vector<std::shared_ptr<ExportProfile>> profiles_;
};

}  // namespace

Planted plant(const std::string& folder, unsigned seed) { return Planter(folder, seed).run(); }

}  // namespace hand_out
