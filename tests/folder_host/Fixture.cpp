#include "Fixture.h"

#include <SQLiteCpp/Database.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "folder_host/files/Descriptor.h"
#include "folder_host/share/Strip.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

auto openDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()); }

}  // namespace

std::string refusalOf(const std::function<void()>& act) {
  try {
    act();
    return {};
  } catch (const Error& error) {
    return error.identifier();
  }
}

std::string read(const fs::path& file) {
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

void write(const fs::path& file, const std::string& content) {
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  if (!stream.flush()) throw std::system_error(errno, std::generic_category(), file.string());
}

void runSql(const fs::path& store, const std::string& sql) {
  SQLite::Database database(store.string(), SQLite::OPEN_READWRITE, 100);
  database.exec("PRAGMA secure_delete = OFF; PRAGMA synchronous = OFF");
  database.exec(sql);
}

std::string lockTextOf(const std::string& folder, const std::string& name) {
  const struct stat status = statusOf(openFolder(folder + "/" + name));
  return "Something is being put together in " + name + "\nIt is " + std::to_string(status.st_dev) + ":" +
         std::to_string(status.st_ino) + "\n";
}

std::shared_ptr<const Listing> listingOf(const std::vector<std::string>& names) {
  Listing listing;
  for (const std::string& name : names) {
    const std::size_t arrow = name.find('>');
    if (arrow != std::string::npos) {
      listing.entries.push_back({name.substr(0, arrow), EntryKind::link, name.substr(arrow + 1)});
    } else if (name.back() == '/') {
      listing.entries.push_back({name.substr(0, name.size() - 1), EntryKind::folder, {}});
    } else {
      listing.entries.push_back({name, EntryKind::file, {}, {1, listing.entries.size()}});
    }
  }
  std::sort(listing.entries.begin(), listing.entries.end(),
            [](const Entry& a, const Entry& b) { return a.path < b.path; });
  return std::make_shared<const Listing>(std::move(listing));
}

std::vector<std::string> namesOf(const std::vector<const Entry*>& entries) {
  std::vector<std::string> names(entries.size());
  std::transform(entries.begin(), entries.end(), names.begin(), [](const Entry* entry) { return entry->path; });
  return names;
}

fl::filesystem::path at(WorkingCopy& copy, const std::string& relative) {
  const std::string root = copy.root() == "/" ? "" : copy.root();
  return fl::filesystem::path(fromBytes(root + "/" + relative), true);
}

std::vector<fl::filesystem::path> at(WorkingCopy& copy, const std::vector<std::string>& relative) {
  std::vector<fl::filesystem::path> paths(relative.size());
  std::transform(relative.begin(), relative.end(), paths.begin(), [&](const auto& path) { return at(copy, path); });
  return paths;
}

Transformation::~Transformation() = default;

void Transformation::apply(project::sharing::SerializationData& data) const {
  if (change_) change_(*data.projectManagers.at(data.projectPath));
}

HandedOut share(const std::shared_ptr<WorkingCopy>& copy, const project::sharing::TransformationHierarchy& change,
                const std::string& destination, const HandOutOptions& options) {
  const Place place = checkDestination(*copy, destination);
  strip(copy, change);
  return handOut(*copy, place, options);
}

std::shared_ptr<WorkingCopy> judged(const FolderProject& project, const project::sharing::TransformationHierarchy& by) {
  auto copy = project.workingCopy();
  const auto before = copy->asItWas();
  strip(copy, by);
  strip(before, by);
  copy->holdBack(before->heldBack());
  copy->applyHostRules();
  return copy;
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (fs::canonical(fs::temp_directory_path()) / "folder-host-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  path = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::permissions(path, fs::perms::owner_all, ignored);
  for (const auto& item : fs::recursive_directory_iterator(path, ignored)) {
    if (!item.is_symlink(ignored) && item.is_directory(ignored)) fs::permissions(item, fs::perms::owner_all, ignored);
  }
  fs::remove_all(path, ignored);
}

FolderTest::FolderTest() : descriptors_(openDescriptors()) {}
FolderTest::~FolderTest() { EXPECT_EQ(openDescriptors(), descriptors_); }

void FolderTest::put(const std::string& file, const std::string& content) const {
  fs::create_directories((folder_ / file).parent_path());
  write(folder_ / file, content);
}

std::vector<std::string> FolderTest::tree(const std::string& path) const {
  std::vector<std::string> names;
  for (const auto& item : fs::recursive_directory_iterator(folder_ / path)) {
    names.push_back(fs::path(item.path()).lexically_relative(folder_ / path).string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace folder_host
