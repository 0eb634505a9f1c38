#include "receipt/ReceiptText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

#include "folder_host/share/read/CopyContent.h"
#include "judgement/Digest.h"
#include "output/Json.h"
#include "output/Report.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/FilterKinds.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::Written;

namespace {

std::string now() { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))); }

Json filtersOf(const ReceiptSource& source) {
  Json all = Json::array();
  if (source.profile == nullptr) return all;
  const auto& labels = source.project.effective().sources();
  for (const auto& filter : source.profile->getFilters()) {
    Json object{{"filter", all.size() + 1}, {"kind", wordOf(filter->getType())}};
    object["labels"] = Json::array();
    for (const auto& item : filter->getItems()) {
      const auto known = labels.find(item.labelUUID);
      object["labels"].push_back(known ? jsonOf(labels.labels()[*known])
                                       : Json{{"uuid", utf8(item.labelUUID)}, {"deleted", true}});
    }
    all.push_back(std::move(object));
  }
  return all;
}

Json removedBy(const Judgement& judgement) {
  Json all = Json::array();
  for (const FilterEffect& filter : judgement.filters) {
    for (const std::size_t label : filter.labelsRemoved) all.push_back(jsonOf(judgement.labels[label]));
  }
  return all;
}

template <class Items>
Json listOf(const Items& items) {
  Json all = Json::array();
  for (const auto& item : items) all.push_back(jsonOf(item));
  return all;
}

bool isPlain(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

// Entries may be very many, so their lines are put together by hand: most names need no look at each character's
// meaning, and all others take the way that every text takes.
class Lines {
 public:
  Lines(const ReceiptHead& head, const ReceiptSource& source, const std::function<void(std::string_view)>& put)
      : source_(source), put_(put), below_(below(head.from)) {
    for (const auto& label : source.project.effective().sources().labels()) {
      labels_.push_back(written(utf8(label.uuid)));
    }
    if (source.handedOut == nullptr || head.isPlain) return;
    const auto& store = source.handedOut->store;
    stores_ = {
        {folder_host::STORE_FOLDER, R"("kind":"folder"})"},
        {folder_host::STORE_FILE, fmt::format(R"("kind":"file","size":{},"sha256":"{}"}})", store.size, store.sha256)}};
  }

  void addShared() {
    const auto& shared = source_.judgement.shared;
    for (std::size_t i = 0; i < shared.size(); ++i) {
      const std::string_view path = pathOf(*shared[i]);
      while (store_ < stores_.size() && stores_[store_].first < path) addStore();
      begin(path);
      addStatus(*shared[i], i);
      addLabels(*shared[i]);
    }
    while (store_ < stores_.size()) addStore();
    flush();
  }

  void addHeldBack(const std::string& from) {
    separator_ = "\n  ";
    const auto& all = source_.judgement.copy->listing().entries;
    for (std::size_t i = 0; i < all.size(); ++i) {
      const Reason& reason = source_.judgement.reasons[i];
      const bool isWithin = from.empty() || all[i].path.compare(0, below_, from + "/") == 0;
      if (reason.rule == Reason::Rule::none || !isWithin) continue;
      begin(pathOf(all[i]));
      line_.append(R"("kind":")").append(wordOf(all[i].kind)).append(R"(","reason":)").append(textOf(reason)) += ',';
      addLabels(all[i]);
    }
    flush();
  }

 private:
  std::string_view pathOf(const Entry& entry) const { return std::string_view(entry.path).substr(below_); }

  void addStore() {
    begin(stores_[store_].first);
    line_ += stores_[store_].second;
    ++store_;
  }

  // `{"path":"a",`, at the beginning of a line of its own.
  void begin(std::string_view path) {
    constexpr std::size_t ENOUGH = std::size_t{1} << 16U;
    if (line_.size() > ENOUGH) flush();
    line_.append(std::exchange(separator_, ",\n  ")).append("{");
    addPath("path", path);
    line_ += ',';
  }

  void addPath(const char* key, std::string_view path) {
    if (std::all_of(path.begin(), path.end(), isPlain)) {
      line_.append("\"").append(key).append("\":\"").append(path).append("\"");
      return;
    }
    Json object;
    putPath(object, key, std::string(path));
    const std::string text = written(object);
    line_.append(text, 1, text.size() - 2);
  }

  template <class Number>
  void addNumber(const char* before, Number number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    line_.append(before).append(digits.data(), end);
  }

  void addMode(mode_t mode) {
    line_ += R"("mode":")";
    for (const unsigned shift : {9U, 6U, 3U, 0U}) line_ += static_cast<char>('0' + ((mode >> shift) & 7U));
    line_ += "\",";
  }

  // As the copy has it, where there is one.
  void addStatus(const Entry& entry, std::size_t index) {
    const auto& all = source_.handedOut;
    const Written status = all != nullptr ? all->written[index] : Written{entry.size, entry.modified, entry.mode};
    line_.append(R"("kind":")").append(wordOf(entry.kind)).append("\",");
    if (entry.kind == EntryKind::link) {
      addPath("target", entry.target);
      line_ += ',';
    }
    if (entry.kind == EntryKind::file) {
      addNumber(R"("size":)", status.size);
      line_ += ',';
    }
    addNumber(R"("modified":[)", status.modified.tv_sec);
    addNumber(",", status.modified.tv_nsec);
    line_ += "],";
    if (entry.kind != EntryKind::link) addMode(status.mode);
    if (entry.kind == EntryKind::file && !source_.digests.empty()) {
      line_.append(R"("sha256":")").append(source_.digests[index]).append("\",");
    }
  }

  // Those that it has, and those that it had under another name: either may be what held it back.
  void addLabels(const Entry& entry) {
    const auto index = static_cast<std::size_t>(&entry - source_.judgement.copy->listing().entries.data());
    folder_host::LabelSet labels = source_.project.effective().of(index);
    const auto& differing = source_.project.followed().differing();
    if (const auto had = differing.find(index); had != differing.end()) {
      folder_host::LabelSet both;
      std::set_union(labels.begin(), labels.end(), had->second.labels.begin(), had->second.labels.end(),
                     std::back_inserter(both));
      labels = std::move(both);
    }
    line_ += R"("labels":[)";
    for (std::size_t i = 0; i < labels.size(); ++i) line_.append(i == 0 ? "" : ",").append(labels_[labels[i]]);
    line_ += "]}";
  }

  // Few reasons stand for many entries.
  const std::string& textOf(const Reason& reason) {
    const auto [known, isNew] = reasons_.try_emplace(
        {reason.rule, reason.filter, reason.labels, reason.from == nullptr ? std::string() : *reason.from});
    if (isNew) known->second = written(jsonOf(source_.judgement, reason));
    return known->second;
  }

  void flush() { put_(std::exchange(line_, {})); }

  const ReceiptSource& source_;
  const std::function<void(std::string_view)>& put_;
  std::size_t below_;                // where the path in the copy begins in the path of an entry
  std::vector<std::string> labels_;  // the UUIDs, as they are written
  std::vector<std::pair<std::string, std::string>> stores_;  // the copy's store, by path
  std::size_t store_ = 0;                                    // the next of them
  std::map<std::tuple<Reason::Rule, std::size_t, std::vector<std::size_t>, std::string>, std::string> reasons_;
  const char* separator_ = "\n  ";
  std::string line_;
};

// What was shared, as the digest of a copy has it.
std::string copyDigestOf(const ReceiptSource& source, std::size_t begin) {
  folder_host::CopyDigest digest;
  const auto& shared = source.judgement.shared;
  for (std::size_t i = 0; i < shared.size(); ++i) {
    const Entry& entry = *shared[i];
    const std::uint64_t size = source.handedOut != nullptr ? source.handedOut->written[i].size : entry.size;
    digest.add(entry.path.substr(begin), entry.kind, entry.target, size);
  }
  return digest.finish();
}

}  // namespace

ReceiptHead headOf(const ReceiptSource& source, const std::string& destination) {
  ReceiptHead head;
  head.time = now();
  const Judgement& judgement = source.judgement;
  if (judgement.uuid != profiles::getWholeProjectUUID()) {
    head.profileUuid = utf8(judgement.uuid);
    head.profileName = utf8(judgement.name);
  }
  head.from = judgement.copy->scopePath();
  head.destination = destination;
  head.shape = "folder";
  head.hasContent = !source.digests.empty();
  const folder_host::Position position = source.project.position();
  head.revision = static_cast<std::uint64_t>(position.revision);
  head.edit = utf8(position.editId);
  head.address = source.project.address();
  return head;
}

void digest(ReceiptHead& head, const ReceiptSource& source) {
  head.judgement = digestOf(source.judgement, source.allowed);
  head.copy = copyDigestOf(source, below(head.from));
}

// Of a million entries no list is held in memory: each is a line that is written as soon as it is known.
void writeReceipt(const ReceiptHead& head, const ReceiptSource& source,
                  const std::function<void(std::string_view)>& put) {
  Json object = jsonOf(head);
  object["filters"] = filtersOf(source);
  object["allowed"] = source.allowed;
  object["risks"] = listOf(source.risks);
  object["labelsRemoved"] = removedBy(source.judgement);
  object["labels"] = jsonOf(source.judgement.leaving);
  object["allLabels"] = listOf(source.project.effective().sources().labels());
  std::string text = written(object, 1);
  text.resize(text.rfind('\n'));  // it goes on
  put(text + ",\n \"handedOut\": [");
  Lines lines(head, source, put);
  lines.addShared();
  put("\n ],\n \"heldBack\": [");
  lines.addHeldBack(head.from);
  put("\n ]\n}\n");
}

}  // namespace project_share
