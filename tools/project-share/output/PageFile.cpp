#include "output/PageFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Refusal.h"
#include "folder_host/FolderProject.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::Place;
using folder_host::Publication;

namespace {

constexpr const char* STAGED_PAGE = "page";

template <class Act>
auto orPageFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::PAGE_FAILED, "cannot write the page", file, act);
}

Refusal takenPage(const std::string& file) {
  return {refusals::PAGE_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file))};
}

Place placeOfPage(const folder_host::WorkingCopy& project, const std::string& file) {
  Place place = folder_host::placeOf(file);
  if (liesIn(place, project.listing().folders) || folder_host::FolderProject::isWithinOne(place.parentPath)) {
    throw Refusal(
        refusals::PAGE_MISPLACED,
        fmt::format("a page tells what is held back: put {} outside of this project, and of any copy or other one",
                    inQuotes(file)));
  }
  if (isTaken(place)) throw takenPage(file);
  return place;
}

}  // namespace

struct PageFile::Staged {
  explicit Staged(const Descriptor& parent)
      : staging(parent), content(openBeneath(staging.content(), STAGED_PAGE, O_WRONLY | O_CREAT | O_EXCL, 0600)) {}

  Publication staging;
  Descriptor content;
};

PageFile::PageFile(const folder_host::WorkingCopy& project, std::string file)
    : file_(std::move(file)), place_(orPageFailed(file_, [&] { return placeOfPage(project, file_); })) {
  orPageFailed(file_, [&] {
    Publication::removeAbandoned(place_.parent);
    staged_ = std::make_shared<Staged>(place_.parent);
  });
}

void PageFile::put(std::string_view text) {
  constexpr std::size_t ENOUGH = std::size_t{1} << 16U;
  buffer_ += text;
  if (buffer_.size() < ENOUGH) return;
  orPageFailed(file_, [&] { folder_host::writeAll(staged_->content, buffer_); });
  buffer_.clear();
}

void PageFile::publish() {
  orPageFailed(file_, [&] {
    folder_host::writeAll(staged_->content, std::exchange(buffer_, {}));
    folder_host::check(::fsync(staged_->content.get()));
    try {
      staged_->staging.publishFile(STAGED_PAGE, place_.name);
    } catch (const std::system_error& error) {
      if (error.code().value() == EEXIST) throw takenPage(file_);
      throw;
    }
  });
}

}  // namespace project_share
