#include "receipt/CopyComparison.h"

#include <algorithm>
#include <map>
#include <utility>

#include "folder_host/files/Times.h"

namespace project_share {

using folder_host::CopyEntry;
using folder_host::EntryKind;

namespace {

class Comparison {
 public:
  Comparison(folder_host::CopyContent& copy, CompareBy by) : copy_(copy), by_(by) {}

  void note(ReceiptEntry entry) {
    entry.labels.clear();  // nothing here asks for them
    progress_.allBytes += entry.size;
    ++progress_.allEntries;
    std::string path = entry.path;
    noted_.emplace(std::move(path), std::move(entry));
  }

  // What was found is struck off, so what remains in the end is missing.
  std::vector<CopyDifference> run(const std::function<void(const folder_host::Progress&)>& onProgress) {
    copy_.forEach([&](const CopyEntry& entry) { return isToBeRead(entry); },
                  [&](const CopyEntry& entry) {
                    take(entry);
                    ++progress_.entries;
                    onProgress(progress_);
                  },
                  [&](std::uint64_t bytes) {
                    progress_.bytes += bytes;
                    onProgress(progress_);
                  });
    for (const auto& [path, entry] : noted_) differences_.push_back({"missing", path});
    std::sort(differences_.begin(), differences_.end(),
              [](const CopyDifference& a, const CopyDifference& b) { return a.path < b.path; });
    return std::move(differences_);
  }

 private:
  bool isByContent(const ReceiptEntry& noted) const {
    return !noted.sha256.empty() && (by_ == CompareBy::content || noted.path == folder_host::STORE_FILE);
  }

  // A size that differs is answer enough, and nothing has to be read.
  bool isToBeRead(const CopyEntry& entry) const {
    const auto noted = noted_.find(entry.path);
    return noted != noted_.end() && noted->second.size == entry.size && isByContent(noted->second);
  }

  void take(const CopyEntry& entry) {
    const auto noted = noted_.find(entry.path);
    if (noted == noted_.end()) return differences_.push_back({"added", entry.path});
    if (!isAsNoted(entry, noted->second)) differences_.push_back({"changed", entry.path});
    noted_.erase(noted);
  }

  bool isAsNoted(const CopyEntry& entry, const ReceiptEntry& noted) const {
    if (entry.isOther || entry.kind != noted.kind || entry.target != noted.target || entry.size != noted.size) {
      return false;
    }
    if (entry.kind == EntryKind::file && isByContent(noted)) return entry.sha256 == noted.sha256;
    const bool isStore = noted.path == folder_host::STORE_FOLDER;
    if (by_ == CompareBy::content || entry.kind == EntryKind::link || isStore) {
      return entry.kind != EntryKind::file || isStatusAsNoted(entry, noted);
    }
    return isStatusAsNoted(entry, noted);
  }

  // Of a folder, any look into it by a program that keeps something there changes the time.
  bool isStatusAsNoted(const CopyEntry& entry, const ReceiptEntry& noted) const {
    if (entry.mode != noted.mode) return false;
    if (entry.kind != EntryKind::file) return true;
    return copy_.hasExactTimes() ? folder_host::isSameTime(entry.modified, noted.modified)
                                 : entry.modified.tv_sec == noted.modified.tv_sec;
  }

  folder_host::CopyContent& copy_;
  CompareBy by_;
  std::map<std::string, ReceiptEntry> noted_;
  std::vector<CopyDifference> differences_;
  folder_host::Progress progress_;
};

}  // namespace

std::vector<CopyDifference> differencesOf(folder_host::CopyContent& copy, ReceiptReader& receipt, CompareBy by,
                                          const std::function<void(const folder_host::Progress&)>& onProgress) {
  Comparison comparison(copy, by);
  receipt.forEachShared([&](ReceiptEntry entry) { comparison.note(std::move(entry)); });
  return comparison.run(onProgress);
}

}  // namespace project_share
