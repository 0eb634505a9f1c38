#include "output/PageFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Refusal.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Place;

namespace {

template <class Act>
auto orPageFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::PAGE_FAILED, "cannot write the page", file, act);
}

Refusal takenPage(const std::string& file) {
  return {refusals::PAGE_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file))};
}

Place placeOfPage(const folder_host::WorkingCopy& project, const std::string& file) {
  Place place = folder_host::placeOf(file);
  if (canBeHandedOut(place, project)) {
    throw Refusal(
        refusals::PAGE_MISPLACED,
        fmt::format("a page tells what is held back: put {} outside of this project, and of any copy or other one",
                    inQuotes(file)));
  }
  if (isTaken(place)) throw takenPage(file);
  return place;
}

}  // namespace

PageFile::PageFile(const folder_host::WorkingCopy& project, std::string file)
    : name_(std::move(file)), file_(orPageFailed(name_, [&] { return PrivateFile(placeOfPage(project, name_)); })) {}

void PageFile::put(std::string_view text) {
  orPageFailed(name_, [&] { file_.put(text); });
}

void PageFile::publish() {
  orPageFailed(name_, [&] {
    file_.finish();
    try {
      file_.publish();
    } catch (const std::system_error& error) {
      if (error.code().value() == EEXIST) throw takenPage(name_);
      throw;
    }
  });
}

}  // namespace project_share
