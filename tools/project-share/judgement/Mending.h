#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"
#include "judgement/Risk.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "words/TypedCommand.h"

namespace project_share {

using Paths = std::vector<std::string>;

// How to hold back, or to share, what filters judge.
class Mending {
 public:
  // The copy, as it is before any filter, outlives this object.
  Mending(const Filters& filters, const folder_host::WorkingCopy& copy);

  // The commands as they are typed from the working directory. Where a word cannot be typed as it looks, what to do
  // instead, in words.
  Command attach(const folder_host::LabelRecord& label, const Paths& paths) const;
  // By a label's name, which need not be one.
  Command attach(const std::string& label, const Paths& paths) const;
  Command detach(const folder_host::LabelRecord& label, const Paths& paths) const;
  Command follow(const std::string& path) const;
  // Of an entry that had other labels than it has: to have what it has counted, and what it had.
  Command settle(std::size_t entry) const;
  Command restore(std::size_t entry) const;
  Command callMissing(const std::string& path) const;

  // The labels that the entry has or had, and by which drop-files filters hold it back: UUIDs, sorted.
  std::vector<std::u16string> droppingLabelsOf(std::size_t entry) const;

  // Attaches a label of a drop-files filter or, where there is none, takes off those by which a keep-files filter
  // shares the entries. Without either, what else can be done. There is a path at least.
  Mend holdBack(const Paths& paths) const;

 private:
  Command change(std::size_t entry, const folder_host::LabelSet& from, const folder_host::LabelSet& to) const;
  Command commandOn(const char* action, const std::string& path) const;
  Command commandFor(const char* action, const std::string& label, const Paths& paths) const;

  const folder_host::WorkingCopy& copy_;
  std::vector<folder_host::LabelRecord> dropped_;              // named by drop-files filters; by name
  std::map<std::u16string, folder_host::LabelRecord> labels_;  // by UUID; empty without a keep-files filter
  bool keeps_ = false;
};

}  // namespace project_share
