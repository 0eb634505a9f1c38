#include "output/PrivateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "folder_host/FolderProject.h"

namespace project_share {

using folder_host::Place;
using folder_host::Publication;

namespace {

constexpr const char* STAGED = "file";

const folder_host::Descriptor& cleared(const folder_host::Descriptor& parent) {
  Publication::removeAbandoned(parent);
  return parent;
}

}  // namespace

PrivateFile::PrivateFile(Place place)
    : place_(std::move(place)),
      staging_(cleared(place_.parent)),
      file_(openBeneath(staging_.content(), STAGED, O_WRONLY | O_CREAT | O_EXCL, 0600)) {}

void PrivateFile::put(std::string_view text) {
  constexpr std::size_t ENOUGH = std::size_t{1} << 16U;
  buffer_ += text;
  if (buffer_.size() >= ENOUGH) flush();
}

void PrivateFile::flush() { folder_host::writeAll(file_, std::exchange(buffer_, {})); }

void PrivateFile::finish() {
  flush();
  folder_host::check(::fsync(file_.get()));
}

void PrivateFile::publish() { staging_.publishFile(STAGED, place_.name); }

void PrivateFile::replace(const folder_host::FileId& replaced) { staging_.replaceFile(STAGED, place_.name, replaced); }

bool canBeHandedOut(const Place& place, const folder_host::WorkingCopy& project) {
  return liesIn(place, project.listing().folders) || folder_host::FolderProject::isWithinOne(place.parentPath);
}

}  // namespace project_share
