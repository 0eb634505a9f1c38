#include "Receipt.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <stdio.h>   // NOLINT(modernize-deprecated-headers): renameat2 is no part of <cstdio>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkostemp is no part of <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Json.h"
#include "Lookup.h"
#include "PreviewReport.h"
#include "Refusal.h"
#include "folder_host/Digest.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace project_share {

namespace fs = std::filesystem;

using folder_host::Descriptor;
using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::Progress;

namespace {

Refusal failed(const std::string& file, int code) {
  return {refusals::RECEIPT_FAILED,
          fmt::format("cannot write the receipt {}: {}", inQuotes(file), std::generic_category().message(code))};
}

template <class Act>
auto orFailed(const std::string& file, const Act& act) {
  try {
    return act();
  } catch (const std::system_error& error) {
    throw failed(file, error.code().value());
  }
}

// Where the file would be, without links before its name.
fs::path placeOf(const std::string& file) {
  return orFailed(file, [&] {
    const fs::path path = fs::absolute(file);
    return fs::canonical(path.parent_path()) / path.filename();
  });
}

void checkPlace(const folder_host::FolderProject& project, const fs::path& copy, const std::string& file) {
  const fs::path place = placeOf(file);
  struct stat root {};
  const bool inProject = ::stat(project.root().c_str(), &root) == 0 &&
                         folder_host::liesIn(place.parent_path().string(), folder_host::idOf(root));
  if (inProject || place == copy) {
    throw Refusal(refusals::RECEIPT_MISPLACED,
                  fmt::format("a receipt tells what was held back: put {} neither into the project nor in the place of "
                              "the copy",
                              inQuotes(file)));
  }
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0) {
    if (errno == ENOENT) return;
    throw failed(file, errno);
  }
  throw Refusal(refusals::RECEIPT_EXISTS, fmt::format("{} is already there; choose another name", inQuotes(file)));
}

std::string now() { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))); }

Json headOf(const Assessment& assessment, const std::set<std::string>& allowed, const std::string& destination) {
  Json head{{"receipt", 1}, {"time", now()}};
  const bool whole = assessment.uuid == profiles::getWholeProjectUUID();
  head["profile"] = whole ? Json() : Json{{"uuid", utf8(assessment.uuid)}, {"name", utf8(assessment.name)}};
  putPath(head, "destination", destination);
  head["allowed"] = allowed;
  head["labelsHeldBack"] = Json::array();
  for (const FilterEffect& filter : assessment.preview.filters) {
    for (const std::size_t label : filter.labelsGone) {
      head["labelsHeldBack"].push_back(jsonOf(assessment.preview.labels[label]));
    }
  }
  return head;
}

// Hashes what was written, not what was read.
class Outgoing {
 public:
  Outgoing(const Entries& left, const Descriptor& copy, const std::function<void(const Progress&)>& onProgress)
      : copy_(copy), onProgress_(onProgress) {
    progress_.allEntries = left.size();
    for (const Entry* entry : left) progress_.allBytes += entry->size;
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

Receipt::Receipt(const folder_host::FolderProject& project, const std::string& destination, std::string file)
    : file_(std::move(file)),
      destination_(orFailed(file_, [&] { return fs::weakly_canonical(fs::absolute(destination)).string(); })),
      partial_(file_ + ".XXXXXX") {
  checkPlace(project, destination_, file_);
  descriptor_ = Descriptor(::mkostemp(partial_.data(), O_CLOEXEC));
  if (descriptor_.get() < 0) throw failed(file_, errno);
}

Receipt::~Receipt() {
  if (!partial_.empty()) ::unlink(partial_.c_str());
}

void Receipt::write(const Assessment& assessment, const std::set<std::string>& allowed,
                    const folder_host::WorkingCopy& left, const Descriptor& copy,
                    const std::function<void(const Progress&)>& onProgress) {
  const Entries entries = left.entries();
  Outgoing outgoing(entries, copy, onProgress);
  std::string head = written(headOf(assessment, allowed, destination_), 1);
  head.resize(head.rfind('\n'));  // it goes on
  put(head + ",\n \"handedOut\": [");
  put("\n  " + written(outgoing.describe({folder_host::STORE_FOLDER, EntryKind::folder, {}})));
  put(",\n  " + written(outgoing.describe({folder_host::STORE_FILE, EntryKind::file, {}})));
  for (const Entry* entry : entries) put(",\n  " + written(outgoing.describe(*entry)));
  put("\n ],\n \"heldBack\": [");
  const auto& all = left.listing().entries;
  const char* separator = "\n  ";
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Reason& reason = assessment.preview.reasons[i];
    if (reason.rule == Reason::Rule::none) continue;
    Json object = jsonOf(all[i]);
    object["why"] = jsonOf(assessment.preview, reason);
    put(std::exchange(separator, ",\n  ") + written(object));
  }
  put("\n ],\n \"labels\": " + written(jsonOf(assessment.leaving)) + "\n}\n");
  flush();
  if (::fsync(descriptor_.get()) != 0) throw failed(file_, errno);
}

void Receipt::publish() {
  if (::renameat2(AT_FDCWD, partial_.c_str(), AT_FDCWD, file_.c_str(), RENAME_NOREPLACE) != 0) {
    throw Refusal(refusals::RECEIPT_FAILED, fmt::format("the copy is complete, but its receipt cannot be named {}: {}",
                                                        inQuotes(file_), std::generic_category().message(errno)));
  }
  partial_.clear();
  const Descriptor folder =
      orFailed(file_, [&] { return folder_host::openFolder(placeOf(file_).parent_path().string()); });
  if (::fsync(folder.get()) != 0) throw failed(file_, errno);
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
