#include "receipt/Receipt.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "Refusal.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Place;

namespace {

template <class Act>
auto orFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::RECEIPT_FAILED, "cannot write the receipt", file, act);
}

// In the project the next share would hand it out; in the copy, at whose place mostly nothing is yet, it would be
// handed out now.
Place placeOfReceipt(const folder_host::WorkingCopy& project, const Place* copy, const std::string& file) {
  const auto misplaced = [&] {
    return Refusal(refusals::RECEIPT_MISPLACED,
                   fmt::format("a receipt tells what was held back: put {} neither into a project nor into a copy",
                               inQuotes(file)));
  };
  if (copy != nullptr && isWithin(file, *copy)) throw misplaced();
  Place place = folder_host::placeOf(file);
  if (canBeHandedOut(place, project)) throw misplaced();
  if (!isTaken(place)) return place;
  throw Refusal(refusals::RECEIPT_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file)));
}

}  // namespace

// All is made before the copy: that a receipt cannot be written must be known before anything is handed out.
Receipt::Receipt(const folder_host::WorkingCopy& project, const Place* copy, std::string file)
    : name_(std::move(file)),
      file_(orFailed(name_, [&] { return PrivateFile(placeOfReceipt(project, copy, name_)); })) {}

void Receipt::check(const folder_host::WorkingCopy& project, const Place* copy, const std::string& file) {
  orFailed(file, [&] { return placeOfReceipt(project, copy, file); });
}

void Receipt::put(std::string_view text) {
  orFailed(name_, [&] { file_.put(text); });
}

// Durable before the copy gets its name: after a power failure, a copy must not be there whose receipt is empty.
void Receipt::finish() {
  orFailed(name_, [&] { file_.finish(); });
}

// The copy has its name by then and is not taken back: it is whole, and only the receipt is missing.
void Receipt::publish() {
  try {
    file_.publish();
  } catch (const std::system_error& error) {
    throw Refusal(
        refusals::RECEIPT_FAILED,
        fmt::format("the copy is complete, but its receipt cannot be named {}: {}; remove the copy and share again",
                    inQuotes(name_), std::generic_category().message(error.code().value())));
  }
}

}  // namespace project_share
