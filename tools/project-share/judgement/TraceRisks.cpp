#include "judgement/TraceRisks.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "folder_host/Error.h"
#include "folder_host/share/Twins.h"
#include "folder_host/store/Settlements.h"
#include "words/Names.h"

namespace project_share {

using folder_host::EntryTable;
using folder_host::inQuotes;
using folder_host::LabelRecord;
using folder_host::Selection;

namespace {

using Labels = std::set<std::size_t>;  // indices into Judgement::labels

class Traces {
 public:
  Traces(folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement)
      : judgement_(judgement),
        project_(project),
        mending_(mending),
        settlements_(*project.getMetadataManager()),
        shared_(judgement.reasons.size()),
        heldBack_(shared_.size()),
        dropped_(shared_.size()) {
    for (std::size_t i = 0; i < judgement.labels.size(); ++i) indices_[judgement.labels[i].uuid] = i;
    for (std::size_t i = 0; i < shared_.size(); ++i) {
      // What the host's rules hold back is not looked for elsewhere: nobody has said of its content that it must not
      // leave.
      const Reason& reason = judgement.reasons[i];
      shared_[i] = reason.rule == Reason::Rule::none;
      heldBack_[i] = reason.rule == Reason::Rule::filter || reason.rule == Reason::Rule::folder;
      dropped_[i] = heldBack_[i] && judgement.dropped[i];
    }
  }

  void find() {
    // Where nothing is held back, nothing can leave in another shape, and to look for it would only have shares
    // refused.
    if (std::find(heldBack_.begin(), heldBack_.end(), true) == heldBack_.end()) return;
    addHistories();
    addLeftovers();
    addTwins();
  }

 private:
  const std::string& pathOf(std::size_t entry) const { return project_.table()[entry].path; }

  Risk& add(const RiskKind& kind, const std::vector<std::size_t>& entries, const std::string& what,
            std::vector<Mend> mends) {
    Risk& risk = judgement_.found.add(kind, pathOf(entries.front()), namesOf(entries) + what, std::move(mends));
    for (std::size_t i = 1; i < entries.size(); ++i) risk.otherPaths.push_back(pathOf(entries[i]));
    return risk;
  }

  // What the risk has to do with: these labels, and the filter that holds the original back.
  void concern(Risk& risk, const Labels& labels, std::size_t original) const {
    for (const std::size_t label : labels) risk.labels.push_back(judgement_.labels[label]);
    setFilter(risk, judgement_, judgement_.reasons[original].filter);
  }

  void addHistories() {
    for (const std::size_t entry : historiesAmong(project_.table(), shared_)) {
      add(risks::HISTORY_INSIDE, {entry}, " keeps earlier states of files, perhaps of those that are held back",
          {mending_.holdBack({pathOf(entry)})});
    }
  }

  // A backup of a file that is held back holds that file as it was yesterday. Copies that a person made are looked for
  // where a drop-files filter holds back alone: under keep-files, each was judged by labels of its own.
  void addLeftovers() {
    for (const auto& [entry, of] : leftoversAmong(project_.table(), shared_, heldBack_, dropped_)) {
      if (of.empty()) {
        add(risks::LEFTOVER, {entry}, " is what programs write beside files, of which some here are held back",
            {mending_.holdBack({pathOf(entry)})});
        continue;
      }
      Labels labels;
      bool isInPart = false;
      for (const std::size_t original : of) {
        const Labels& more = labelsWithin(original);
        labels.insert(more.begin(), more.end());
        isInPart = isInPart || shared_[original];
      }
      const std::string digest = digestOf(project_.root(), project_.table()[entry]);
      if (isSettled(entry, labels, digest)) continue;
      Risk& risk = add(risks::LEFTOVER, {entry},
                       fmt::format(" looks like a leftover or a copy of {}, which is held back{}", namesOf(of),
                                   isInPart ? " in part" : ""),
                       mend({entry}, labels, digest));
      concern(risk, labels, of.front());
    }
  }

  // Under a keep-files filter both were judged by their labels.
  void addTwins() {
    for (const auto& twins : twinsAmong(project_.root(), project_.table(), shared_, dropped_)) {
      const Labels labels = labelsOf(twins.heldBack);
      std::vector<std::size_t> unsettled;
      for (const std::size_t entry : twins.shared) {
        if (!isSettled(entry, labels, twins.digest)) unsettled.push_back(entry);
      }
      if (unsettled.empty()) continue;
      const char* what = twins.digest.empty()    ? "may hold what {} holds, which is held back and cannot be read"
                         : unsettled.size() == 1 ? "has the content of {}, which is held back"
                                                 : "have the content of {}, which is held back";
      Risk& risk = add(risks::SAME_CONTENT, unsettled, " " + fmt::format(fmt::runtime(what), namesOf(twins.heldBack)),
                       mend(unsettled, labels, twins.digest));
      concern(risk, labels, twins.heldBack.front());
    }
  }

  std::string namesOf(const std::vector<std::size_t>& entries) const {
    std::string names;
    for (const std::size_t entry : entries) names += (names.empty() ? "" : ", ") + inQuotes(pathOf(entry));
    return names;
  }

  // Those by which drop-files filters hold the entries back. By label, because a settlement holds for a path and a
  // label: another label may stand for another secret.
  Labels labelsOf(const std::vector<std::size_t>& entries) const {
    Labels labels;
    for (const std::size_t entry : entries) {
      for (const std::u16string& uuid : mending_.droppingLabelsOf(entry)) labels.insert(indices_.at(uuid));
    }
    return labels;
  }

  // Of a folder that is shared, those of what is dropped in it.
  // A folder is asked about once for each leftover of it, of which there may be many: what was found is remembered.
  const Labels& labelsWithin(std::size_t original) {
    const auto [known, isNew] = labelsWithin_.try_emplace(original);
    if (!isNew) return known->second;
    if (!shared_[original]) return known->second = labelsOf({original});
    const std::string prefix = pathOf(original) + "/";
    const auto& entries = project_.listing().entries;
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
    return settlements_.isSettled(pathOf(file), judgement_.labels[label].uuid, digest);
  }

  // Whether a person has said of the file that it may be shared for all that these labels say.
  // Every label that holds the content back elsewhere has to be settled: whoever said that one of them does not matter
  // here said nothing about the others.
  bool isSettled(std::size_t file, const Labels& labels, const std::string& digest) const {
    return !labels.empty() &&
           std::all_of(labels.begin(), labels.end(), [&](std::size_t label) { return isSettled(file, label, digest); });
  }

  std::vector<Mend> mend(const std::vector<std::size_t>& entries, const Labels& labels,
                         const std::string& digest) const {
    Paths paths;
    for (const std::size_t entry : entries) paths.push_back(pathOf(entry));
    Mend holdBack = labels.empty() ? mending_.holdBack(paths)
                                   : Mend{"hold it back", mending_.attach(judgement_.labels[*labels.begin()], paths)};
    // Without a digest there is nothing that could be settled, and `label detach` would be told in vain.
    if (labels.empty() || digest.empty()) return {std::move(holdBack)};
    Command commands;
    for (const std::size_t label : labels) {
      const bool isOpen = std::any_of(entries.begin(), entries.end(),
                                      [&](std::size_t entry) { return !isSettled(entry, label, digest); });
      if (isOpen) commands.append(mending_.detach(judgement_.labels[label], paths));
    }
    return {std::move(holdBack), {"if it may be shared", std::move(commands)}};
  }

  Judgement& judgement_;
  folder_host::WorkingCopy& project_;
  const Mending& mending_;
  folder_host::Settlements settlements_;
  Selection shared_;
  Selection heldBack_;                             // by a filter
  Selection dropped_;                              // by a drop-files filter
  std::map<std::u16string, std::size_t> indices_;  // of Judgement::labels, by UUID
  std::map<std::size_t, Labels> labelsWithin_;     // once asked for
};

}  // namespace

// The folder host knows no labels by which filters go, so the command that mends it is added here.
void addPlaceRisks(const folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement,
                   folder_host::Look look) {
  for (auto& found : folder_host::risksAmong(*judgement.copy)) {
    Risk risk = riskOf(std::move(found));
    const bool isNested = std::string_view(risk.identifier) == folder_host::errors::NESTED_PROJECT;
    if (isNested) risk.mends.push_back(mending.holdBack({risk.path}));
    judgement.found.risks.push_back(std::move(risk));
  }
  Selection shared = judgement.copy->heldBack();
  shared.flip();
  for (const std::size_t entry : storesAmong(project.root(), project.table(), shared, look)) {
    const std::string& file = project.table()[entry].path;
    judgement.found.add(
        risks::NESTED_PROJECT, file,
        inQuotes(file) +
            " is a project's store, a receipt, a page or an export, with rules and names that would be shared",
        {mending.holdBack({file})});
  }
}

void addTraceRisks(folder_host::WorkingCopy& project, const Mending& mending, Judgement& judgement,
                   folder_host::Look look) {
  addPlaceRisks(project, mending, judgement, look);
  Traces(project, mending, judgement).find();
}

}  // namespace project_share
