#include "judgement/TraceRisks.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "Refusal.h"
#include "folder_host/Error.h"
#include "folder_host/share/Twins.h"
#include "folder_host/store/Settlements.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::EntryTable;
using folder_host::inQuotes;
using folder_host::LabelRecord;
using folder_host::Risk;
using folder_host::Selection;

namespace {

using Labels = std::set<std::size_t>;  // indices into Preview::labels

Selection sharedIn(const Preview& preview) {
  Selection shared(preview.reasons.size());
  for (std::size_t i = 0; i < shared.size(); ++i) shared[i] = preview.reasons[i].rule == Reason::Rule::none;
  return shared;
}

class Traces {
 public:
  Traces(const Preview& preview, folder_host::WorkingCopy& copy, const Mending& mending)
      : preview_(preview),
        copy_(copy),
        mending_(mending),
        settlements_(*copy.getMetadataManager()),
        shared_(sharedIn(preview)),
        heldBack_(shared_.size()),
        dropped_(shared_.size()) {
    for (std::size_t i = 0; i < preview.labels.size(); ++i) indices_[preview.labels[i].uuid] = i;
    for (std::size_t i = 0; i < shared_.size(); ++i) {
      const Reason& reason = preview.reasons[i];
      heldBack_[i] = reason.rule == Reason::Rule::filter || reason.rule == Reason::Rule::folder;
      dropped_[i] = heldBack_[i] && preview.dropped[i];
    }
  }

  std::vector<Risk> find() {
    addHistories();
    addLeftovers();
    addTwins();
    return std::move(risks_);
  }

 private:
  const std::string& pathOf(std::size_t entry) const { return copy_.table()[entry].path; }

  void add(const char* identifier, const std::vector<std::size_t>& entries, const std::string& message) {
    Risk risk{identifier, pathOf(entries.front()), namesOf(entries) + message};
    for (std::size_t i = 1; i < entries.size(); ++i) risk.otherPaths.push_back(pathOf(entries[i]));
    risks_.push_back(std::move(risk));
  }

  void addHistories() {
    for (const std::size_t entry : historiesAmong(copy_.table(), shared_)) {
      add(refusals::HISTORY_INSIDE, {entry},
          " keeps earlier states of files, of those that are held back too; " + mending_.holdBack({pathOf(entry)}));
    }
  }

  void addLeftovers() {
    for (const auto& [entry, of] : leftoversAmong(copy_.table(), shared_, heldBack_, dropped_)) {
      if (of.empty()) {
        add(refusals::LEFTOVER, {entry},
            " is what programs leave where files are, of which some are held back; " +
                mending_.holdBack({pathOf(entry)}));
        continue;
      }
      Labels labels;
      bool isInPart = false;
      for (const std::size_t original : of) {
        const Labels& more = labelsWithin(original);
        labels.insert(more.begin(), more.end());
        isInPart = isInPart || shared_[original];
      }
      const std::string digest = digestOf(copy_.root(), copy_.table()[entry]);
      if (isSettled(entry, labels, digest)) continue;
      add(refusals::LEFTOVER, {entry},
          fmt::format(" looks like a leftover or a copy of {}, which is held back{}; {}", namesOf(of),
                      isInPart ? " in part" : "", mend({entry}, labels, digest)));
    }
  }

  // Under a keep-files filter both were judged by their labels.
  void addTwins() {
    for (const auto& twins : twinsAmong(copy_.root(), copy_.table(), shared_, dropped_)) {
      const Labels labels = labelsOf(twins.heldBack);
      std::vector<std::size_t> unsettled;
      for (const std::size_t entry : twins.shared) {
        if (!isSettled(entry, labels, twins.digest)) unsettled.push_back(entry);
      }
      if (unsettled.empty()) continue;
      const char* what = twins.digest.empty()    ? "may hold what {} holds, which is held back and cannot be read"
                         : unsettled.size() == 1 ? "has the content of {}, which is held back"
                                                 : "have the content of {}, which is held back";
      add(refusals::SAME_CONTENT, unsettled,
          fmt::format(" {}; {}", fmt::format(fmt::runtime(what), namesOf(twins.heldBack)),
                      mend(unsettled, labels, twins.digest)));
    }
  }

  std::string namesOf(const std::vector<std::size_t>& entries) const {
    std::string names;
    for (const std::size_t entry : entries) names += (names.empty() ? "" : ", ") + inQuotes(pathOf(entry));
    return names;
  }

  // Those by which drop-files filters hold the entries back.
  Labels labelsOf(const std::vector<std::size_t>& entries) const {
    Labels labels;
    for (const std::size_t entry : entries) {
      for (const std::u16string& uuid : mending_.droppingLabelsOf(pathOf(entry))) labels.insert(indices_.at(uuid));
    }
    return labels;
  }

  // Of a folder that is shared, those of what is dropped in it.
  const Labels& labelsWithin(std::size_t original) {
    const auto [known, isNew] = labelsWithin_.try_emplace(original);
    if (!isNew) return known->second;
    if (!shared_[original]) return known->second = labelsOf({original});
    const std::string prefix = pathOf(original) + "/";
    const auto& entries = copy_.listing().entries;
    const auto before = [](const folder_host::Entry& entry, const std::string& path) { return entry.path < path; };
    auto below = std::lower_bound(entries.begin(), entries.end(), prefix, before);
    for (; below != entries.end() && below->path.compare(0, prefix.size(), prefix) == 0; ++below) {
      const auto index = static_cast<std::size_t>(below - entries.begin());
      const Labels more = dropped_[index] ? labelsOf({index}) : Labels();
      known->second.insert(more.begin(), more.end());
    }
    return known->second;
  }

  bool isSettled(std::size_t file, std::size_t label, const std::string& digest) const {
    return settlements_.isSettled(pathOf(file), preview_.labels[label].uuid, digest);
  }

  // Whether a person has said of the file that it may be shared for all that these labels say.
  bool isSettled(std::size_t file, const Labels& labels, const std::string& digest) const {
    return !labels.empty() &&
           std::all_of(labels.begin(), labels.end(), [&](std::size_t label) { return isSettled(file, label, digest); });
  }

  std::string mend(const std::vector<std::size_t>& entries, const Labels& labels, const std::string& digest) const {
    Paths paths;
    for (const std::size_t entry : entries) paths.push_back(pathOf(entry));
    std::string holdBack = labels.empty() ? mending_.holdBack(paths)
                                          : "hold it back: " + mending_.attach(preview_.labels[*labels.begin()], paths);
    if (labels.empty() || digest.empty()) return holdBack;
    std::string commands;
    for (const std::size_t label : labels) {
      const bool isOpen = std::any_of(entries.begin(), entries.end(),
                                      [&](std::size_t entry) { return !isSettled(entry, label, digest); });
      if (isOpen) commands += (commands.empty() ? "" : " && ") + mending_.detach(preview_.labels[label], paths);
    }
    return fmt::format("{}; if it may be shared: {}", holdBack, commands);
  }

  const Preview& preview_;
  folder_host::WorkingCopy& copy_;
  const Mending& mending_;
  folder_host::Settlements settlements_;
  Selection shared_;
  Selection heldBack_;                             // by a filter
  Selection dropped_;                              // by a drop-files filter
  std::map<std::u16string, std::size_t> indices_;  // of Preview::labels, by UUID
  std::map<std::size_t, Labels> labelsWithin_;     // once asked for
  std::vector<Risk> risks_;
};

}  // namespace

std::vector<Risk> traceRisks(const Preview& preview, folder_host::WorkingCopy& copy, const Mending& mending) {
  return Traces(preview, copy, mending).find();
}

std::vector<Risk> storeRisks(const Preview& preview, const folder_host::WorkingCopy& copy, const Mending& mending) {
  std::vector<Risk> risks;
  for (const std::size_t entry : storesAmong(copy.root(), copy.table(), sharedIn(preview))) {
    const std::string& path = copy.table()[entry].path;
    risks.push_back({folder_host::errors::NESTED_PROJECT, path,
                     inQuotes(path) + " is a project's store or a receipt, with rules and names that would leave; " +
                         mending.holdBack({path})});
  }
  return risks;
}

}  // namespace project_share
