#include "folder_host/StagingFolder.h"

#include <fcntl.h>
#include <stdio.h>  // NOLINT(modernize-deprecated-headers): renameat2 is no part of <cstdio>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/Text.h"
#include "project/metadata/MetadataManager.h"

namespace folder_host {

namespace {

void check(int result) {
  if (result != 0) throwErrno();
}

// Folders are opened up on the way down, since their modes may forbid what has to be done in them.
void removeContent(const Descriptor& top) {
  std::vector<std::string> folders = {""};
  for (std::size_t next = 0; next < folders.size(); ++next) {
    const std::string folder = folders[next];
    const std::string name = folder.empty() ? "." : folder;
    check(::fchmodat(top.get(), name.c_str(), 0700, 0));
    for (const FolderItem& item : readFolder(openBeneath(top, name, O_RDONLY | O_DIRECTORY))) {
      const std::string path = joined(folder, item.name);
      if (item.type == S_IFDIR) {
        folders.push_back(path);
      } else {
        check(::unlinkat(top.get(), path.c_str(), 0));
      }
    }
  }
  for (std::size_t last = folders.size() - 1; last > 0; --last) {
    check(::unlinkat(top.get(), folders[last].c_str(), AT_REMOVEDIR));
  }
}

}  // namespace

// Handed on to the private constructor, so that the folder is removed when it cannot be opened.
StagingFolder::StagingFolder(Descriptor parent, const std::string& parentPath, const std::string& prefix)
    : StagingFolder(Made(), std::move(parent), parentPath, prefix + toBytes(project::metadata::generateUUID())) {
  folder_ = openBeneath(parent_, name_, O_RDONLY | O_DIRECTORY);
}

StagingFolder::StagingFolder(Made /*made*/, Descriptor parent, const std::string& parentPath, const std::string& name)
    : parent_(std::move(parent)), name_(name), path_(parentPath + "/" + name) {
  check(::mkdirat(parent_.get(), name_.c_str(), 0700));
}

StagingFolder::~StagingFolder() {
  if (published_) return;
  try {
    if (folder_.get() >= 0) removeContent(folder_);
  } catch (const std::exception&) {  // what cannot be removed stays behind under its private name
  }
  ::unlinkat(parent_.get(), name_.c_str(), AT_REMOVEDIR);
}

void StagingFolder::syncContent() const { check(::syncfs(folder_.get())); }

void StagingFolder::publish(const std::string& name) {
  check(::fsync(folder_.get()));
  check(::renameat2(parent_.get(), name_.c_str(), parent_.get(), name.c_str(), RENAME_NOREPLACE));
  published_ = true;
  if (::fsync(parent_.get()) == 0) return;
  const int failure = errno;
  published_ = ::renameat2(parent_.get(), name.c_str(), parent_.get(), name_.c_str(), RENAME_NOREPLACE) != 0;
  throw std::system_error(failure, std::generic_category());
}

}  // namespace folder_host
