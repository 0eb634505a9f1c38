#include "judgement/Digest.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/text/Packing.h"
#include "folder_host/text/Utf.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::LabelRecord;
using folder_host::toBytes;

namespace {

// Of sorted texts, so that it does not matter in which order they were found.
void putSorted(std::string& bytes, std::vector<std::string> texts) {
  std::sort(texts.begin(), texts.end());
  folder_host::putNumber(bytes, texts.size());
  for (const std::string& text : texts) folder_host::putText(bytes, text);
}

template <class Labels>
void putLabels(std::string& bytes, const Labels& labels, const std::vector<LabelRecord>& records) {
  std::vector<std::string> uuids;
  uuids.reserve(labels.size());
  for (const std::size_t label : labels) uuids.push_back(toBytes(records[label].uuid));
  putSorted(bytes, std::move(uuids));
}

// What a copy gets of it.
void putEntry(std::string& bytes, const Entry& entry) {
  constexpr mode_t PERMISSIONS = 0777;
  folder_host::putNumber(bytes, static_cast<std::uint64_t>(entry.kind));
  folder_host::putText(bytes, entry.target);
  folder_host::putNumber(bytes, entry.mode & PERMISSIONS);
  if (entry.kind != EntryKind::file) return;
  folder_host::putNumber(bytes, entry.size);
  folder_host::putTime(bytes, entry.modified);
}

void putReason(std::string& bytes, const Reason& reason, const std::vector<LabelRecord>& labels) {
  folder_host::putNumber(bytes, static_cast<std::uint64_t>(reason.rule));
  folder_host::putNumber(bytes, reason.filter);
  putLabels(bytes, reason.labels, labels);
  folder_host::putText(bytes, reason.from != nullptr ? *reason.from : std::string());
}

std::string packed(const LeavingLabel& leaving) {
  std::string bytes;
  const LabelRecord& label = leaving.label;
  for (const std::u16string* text : {&label.uuid, &label.name, &label.categoryUUID, &label.categoryName}) {
    folder_host::putText(bytes, toBytes(*text));
  }
  folder_host::putNumber(bytes, label.isProtected ? 1 : 0);
  folder_host::putNumber(bytes, leaving.entries);
  return bytes;
}

std::string packed(const Risk& risk) {
  std::string bytes;
  folder_host::putText(bytes, risk.identifier);
  folder_host::putText(bytes, risk.path);
  putSorted(bytes, risk.otherPaths);
  folder_host::putNumber(bytes, risk.filter);
  folder_host::putText(bytes, risk.filterKind);
  std::vector<std::string> uuids;
  uuids.reserve(risk.labels.size());
  for (const LabelRecord& label : risk.labels) uuids.push_back(toBytes(label.uuid));
  putSorted(bytes, std::move(uuids));
  return bytes;
}

template <class Items>
std::vector<std::string> allPacked(const Items& items) {
  std::vector<std::string> texts;
  texts.reserve(items.size());
  for (const auto& item : items) texts.push_back(packed(item));
  return texts;
}

}  // namespace

// A listing is sorted by the bytes of its paths, so its order is everywhere the same.
std::string digestOf(const Judgement& judgement, const std::set<std::string>& allowed) {
  const folder_host::WorkingCopy& copy = *judgement.copy;
  const folder_host::EntryTable& table = copy.table();
  const folder_host::EffectiveLabels& labels = copy.effective();
  const folder_host::Selection inside = copy.inScope();
  folder_host::Sha256 digest;
  std::string bytes;
  folder_host::putText(bytes, "project-share judgement 1");
  folder_host::putText(bytes, toBytes(judgement.uuid));
  folder_host::putText(bytes, copy.scopePath());
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!inside[i]) continue;
    const Reason& reason = judgement.reasons[i];
    folder_host::putText(bytes, table[i].path);
    folder_host::putNumber(bytes, reason.rule == Reason::Rule::none ? 1 : 0);
    if (reason.rule == Reason::Rule::none) {
      putEntry(bytes, table[i]);
      putLabels(bytes, labels.of(i), labels.sources().labels());
    } else {
      putReason(bytes, reason, judgement.labels);
    }
    digest.add(bytes);
    bytes.clear();
  }
  folder_host::putText(bytes, {});  // no entry has an empty path
  putSorted(bytes, allPacked(judgement.leaving));
  putSorted(bytes, allPacked(judgement.found.risks));
  putSorted(bytes, {allowed.begin(), allowed.end()});
  digest.add(bytes);
  return digest.finish();
}

}  // namespace project_share
