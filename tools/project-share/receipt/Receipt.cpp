#include "receipt/Receipt.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <ctime>
#include <system_error>
#include <utility>

#include "Refusal.h"
#include "folder_host/files/Digest.h"
#include "output/Json.h"
#include "output/Report.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::Place;
using folder_host::Progress;
using folder_host::Publication;

namespace {

constexpr const char* CONTENT = "receipt";

template <class Act>
auto orFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::RECEIPT_FAILED, "cannot write the receipt", file, act);
}

// Nothing is there yet that could be the copy's.
// A receipt names all that was held back. In the project the next share would hand it out; in the copy it would be
// handed out now.
Place placeOfReceipt(const folder_host::WorkingCopy& project, const Place& copy, const std::string& file) {
  const auto misplaced = [&] {
    return Refusal(refusals::RECEIPT_MISPLACED,
                   fmt::format("a receipt tells what was held back: put {} neither into the project nor in the place "
                               "of the copy",
                               inQuotes(file)));
  };
  if (isWithin(file, copy)) throw misplaced();
  Place place = folder_host::placeOf(file);
  if (liesIn(place, project.listing().folders)) throw misplaced();
  if (!isTaken(place)) return place;
  throw Refusal(refusals::RECEIPT_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file)));
}

std::string now() { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))); }

Json headOf(const Judgement& judgement, const std::set<std::string>& allowed, const std::string& destination) {
  Json head{{"receipt", 1}, {"time", now()}};
  const bool whole = judgement.uuid == profiles::getWholeProjectUUID();
  head["profile"] = whole ? Json() : Json{{"uuid", utf8(judgement.uuid)}, {"name", utf8(judgement.name)}};
  putPath(head, "destination", destination);
  head["allowed"] = allowed;
  head["labelsRemoved"] = Json::array();
  for (const FilterEffect& filter : judgement.filters) {
    for (const std::size_t label : filter.labelsRemoved) {
      head["labelsRemoved"].push_back(jsonOf(judgement.labels[label]));
    }
  }
  return head;
}

// Hashes what was written, not what was read.
class Outgoing {
 public:
  Outgoing(const Entries& shared, const Descriptor& copy, const std::function<void(const Progress&)>& onProgress)
      : copy_(copy), onProgress_(onProgress) {
    progress_.allEntries = shared.size();
    for (const Entry* entry : shared) progress_.allBytes += entry->size;
  }

  Json describe(const Entry& entry) {
    Json object = jsonOf(entry);
    if (entry.kind == EntryKind::link) putPath(object, "target", entry.target);
    if (entry.kind == EntryKind::file) addContent(entry.path, object);
    ++progress_.entries;
    onProgress_(progress_);
    return object;
  }

 private:
  // The copy is read once more for this, from the disk or its cache: a digest of what was read would not tell a copy
  // that was written wrong.
  void addContent(const std::string& path, Json& object) {
    const Descriptor file = openBeneath(copy_, path, O_RDONLY);
    object["size"] = statusOf(file).st_size;
    object["sha256"] = folder_host::sha256Of(file, [&](std::uint64_t bytes) {
      progress_.bytes += bytes;
      onProgress_(progress_);
    });
  }

  const Descriptor& copy_;
  const std::function<void(const Progress&)>& onProgress_;
  Progress progress_;
};

}  // namespace

// All is made before the copy: that a receipt cannot be written must be known before anything is handed out. Others may
// not read it at any time, since its names are what is to be hidden from them.
Receipt::Receipt(const folder_host::WorkingCopy& project, const Place& copy, std::string file)
    : file_(std::move(file)),
      destination_(copy.path()),
      place_(orFailed(file_, [&] { return placeOfReceipt(project, copy, file_); })),
      staging_(orFailed(file_,
                        [&] {
                          Publication::removeAbandoned(place_.parent);
                          return Publication(place_.parent);
                        })),
      descriptor_(orFailed(
          file_, [&] { return openBeneath(staging_.content(), CONTENT, O_WRONLY | O_CREAT | O_EXCL, 0600); })) {}

void Receipt::check(const folder_host::WorkingCopy& project, const Place& copy, const std::string& file) {
  orFailed(file, [&] { return placeOfReceipt(project, copy, file); });
}

void Receipt::write(const Judgement& judgement, const std::set<std::string>& allowed, const Descriptor& copy,
                    const std::function<void(const Progress&)>& onProgress) {
  // From the judgement that was handed out, and not from a second one, which could have come out differently.
  const Entries& entries = judgement.shared;
  Outgoing outgoing(entries, copy, onProgress);
  std::string head = written(headOf(judgement, allowed, destination_), 1);
  head.resize(head.rfind('\n'));  // it goes on
  put(head + ",\n \"handedOut\": [");
  // Of a million entries no list is held in memory: each is a line that is written as soon as it is known.
  put("\n  " + written(outgoing.describe({folder_host::STORE_FOLDER, EntryKind::folder, {}})));
  put(",\n  " + written(outgoing.describe({folder_host::STORE_FILE, EntryKind::file, {}})));
  for (const Entry* entry : entries) put(",\n  " + written(outgoing.describe(*entry)));
  put("\n ],\n \"heldBack\": [");
  const auto& all = judgement.copy->listing().entries;
  const char* separator = "\n  ";
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Reason& reason = judgement.reasons[i];
    if (reason.rule == Reason::Rule::none) continue;
    Json object = jsonOf(all[i]);
    object["reason"] = jsonOf(judgement, reason);
    put(std::exchange(separator, ",\n  ") + written(object));
  }
  put("\n ],\n \"labels\": " + written(jsonOf(judgement.leaving)) + "\n}\n");
  flush();
  // Durable before the copy gets its name: after a power failure, a copy must not be there whose receipt is empty.
  orFailed(file_, [&] { folder_host::check(::fsync(descriptor_.get())); });
}

// The copy has its name by then and is not taken back: it is whole, and only the receipt is missing.
void Receipt::publish() {
  try {
    staging_.publishFile(CONTENT, place_.name);
  } catch (const std::system_error& error) {
    throw Refusal(
        refusals::RECEIPT_FAILED,
        fmt::format("the copy is complete, but its receipt cannot be named {}: {}; remove the copy and share again",
                    inQuotes(file_), std::generic_category().message(error.code().value())));
  }
}

void Receipt::put(const std::string& text) {
  constexpr std::size_t ENOUGH = std::size_t{1} << 16U;
  buffer_ += text;
  if (buffer_.size() >= ENOUGH) flush();
}

void Receipt::flush() {
  orFailed(file_, [&] { folder_host::writeAll(descriptor_, std::exchange(buffer_, {})); });
}

}  // namespace project_share
