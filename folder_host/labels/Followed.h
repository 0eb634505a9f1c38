#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/labels/EffectiveLabels.h"
#include "folder_host/labels/Memory.h"

namespace folder_host {

// Names change behind the program's back, and labels hang on names. This finds again what is remembered, and tells
// which entries had other labels than they have: those that they had under another name, those of what they are a side
// file of, or those that a folder had before it was moved. What is found so never gives anything out: who shares shares
// what both sets of labels share.
class Followed {
 public:
  struct Had {
    const LabelSet& labels;  // as long as what was followed is there
    // The path at which it got them: of what it was, or of what it is a side file of. Empty where the entry took the
    // name of something that is elsewhere now.
    std::string from;
  };

  // What was remembered, or has a mark, and is not found.
  struct Lost {
    std::string path;
    LabelSet labels;  // of marks on the path; of what has none, those that are remembered
    bool isMarked;
    bool isFolder;     // as far as that is remembered
    bool isUncertain;  // it may be under any other name; else it was deleted
    bool isMeant;      // somebody has said so
  };

  // `has` is what marks and rules give the entries now.
  Followed(std::shared_ptr<const EntryTable> entries, std::shared_ptr<const EffectiveLabels> has,
           std::shared_ptr<const Memory> memory);
  Followed(const Followed&) = delete;
  Followed& operator=(const Followed&) = delete;

  const EffectiveLabels& has() const noexcept { return has_; }
  const Memory& memory() const noexcept { return memory_; }
  // By entry: those that had other labels than they have.
  const std::map<std::size_t, Had>& differing() const noexcept { return differing_; }

  // In the order of a tree. What has neither a mark nor is uncertain is not among them: it was deleted.
  const std::vector<Lost>& lost() const noexcept { return lost_; }
  // The entries that are likeliest to be what is lost, by name, size and time; the likeliest first, a few. Takes a look
  // at each entry.
  std::vector<std::size_t> candidatesFor(const Lost& lost) const;

  // What an edit at these paths, or below as well, can settle, as it is remembered now: where the edit is taken back,
  // it is remembered so again.
  std::vector<Remembered> openAt(const std::vector<std::string>& paths, bool withAllBelow) const;
  // The same things, as they are remembered now.
  std::vector<Remembered> nowOf(const std::vector<Remembered>& before) const;

  // What is to be remembered from now on. Of what is settled, what it has counts from now on; of all else, what it had
  // as long as that differs.
  Memory renewed(const Settled& settled) const;
  // The same, with nothing settled, and what is lost at these paths or below known as meant so.
  Memory renewedAsMeant(const std::vector<std::string>& paths) const;
  // The same, with nothing settled, and these remembered so again.
  Memory renewedAsBefore(const std::vector<Remembered>& before) const;

 private:
  class Search;
  class Renewal;

  bool isUncertain(const Remembered& lost) const;
  LabelNames namesOf(const LabelSet& labels) const;

  std::shared_ptr<const EntryTable> table_;
  std::shared_ptr<const EffectiveLabels> labels_;
  std::shared_ptr<const Memory> noted_;
  const EntryTable& entries_;
  const EffectiveLabels& has_;
  const Memory& memory_;
  std::vector<std::vector<std::size_t>> found_;  // by what is remembered, the entries that it is now
  std::vector<std::size_t> claims_;              // by entry, the remembered one that counts; NONE
  std::set<LabelSet> sets_;                      // that entries had: many have one in common
  std::map<std::size_t, Had> differing_;
  std::vector<Lost> lost_;
  bool isUncertain_ = false;  // files cannot be told by their identity

  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);
};

}  // namespace folder_host
