#include "receipt/Receipt.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

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

constexpr const char* STAGED = "receipt";

template <class Act>
auto orFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::RECEIPT_FAILED, "cannot write the receipt", file, act);
}

// Nothing is there yet that could be the copy's.
// A receipt names all that was held back. In the project the next share would hand it out; in the copy it would be
// handed out now.
Place placeOfReceipt(const folder_host::WorkingCopy& project, const Place* copy, const std::string& file) {
  const auto misplaced = [&] {
    return Refusal(refusals::RECEIPT_MISPLACED,
                   fmt::format("a receipt tells what was held back: put {} neither into a project nor into a "
                               "copy",
                               inQuotes(file)));
  };
  if (copy != nullptr && isWithin(file, *copy)) throw misplaced();
  Place place = folder_host::placeOf(file);
  if (liesIn(place, project.listing().folders) || folder_host::FolderProject::isWithinOne(place.parentPath))
    throw misplaced();
  if (!isTaken(place)) return place;
  throw Refusal(refusals::RECEIPT_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file)));
}

}  // namespace

// All is made before the copy: that a receipt cannot be written must be known before anything is handed out. Others may
// not read it at any time, since its names are what is to be hidden from them.
Receipt::Receipt(const folder_host::WorkingCopy& project, const Place* copy, std::string file)
    : file_(std::move(file)),
      place_(orFailed(file_, [&] { return placeOfReceipt(project, copy, file_); })),
      staging_(orFailed(file_,
                        [&] {
                          Publication::removeAbandoned(place_.parent);
                          return Publication(place_.parent);
                        })),
      descriptor_(orFailed(
          file_, [&] { return openBeneath(staging_.content(), STAGED, O_WRONLY | O_CREAT | O_EXCL, 0600); })) {}

void Receipt::check(const folder_host::WorkingCopy& project, const Place* copy, const std::string& file) {
  orFailed(file, [&] { return placeOfReceipt(project, copy, file); });
}

// Durable before the copy gets its name: after a power failure, a copy must not be there whose receipt is empty.
void Receipt::finish() {
  flush();
  orFailed(file_, [&] { folder_host::check(::fsync(descriptor_.get())); });
}

// The copy has its name by then and is not taken back: it is whole, and only the receipt is missing.
void Receipt::publish() {
  try {
    staging_.publishFile(STAGED, place_.name);
  } catch (const std::system_error& error) {
    throw Refusal(
        refusals::RECEIPT_FAILED,
        fmt::format("the copy is complete, but its receipt cannot be named {}: {}; remove the copy and share again",
                    inQuotes(file_), std::generic_category().message(error.code().value())));
  }
}

void Receipt::put(std::string_view text) {
  constexpr std::size_t ENOUGH = std::size_t{1} << 16U;
  buffer_ += text;
  if (buffer_.size() >= ENOUGH) flush();
}

void Receipt::flush() {
  orFailed(file_, [&] { folder_host::writeAll(descriptor_, std::exchange(buffer_, {})); });
}

}  // namespace project_share
