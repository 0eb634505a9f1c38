#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"
#include "output/Json.h"

namespace project_share {

// What is told of each entry of a judgement, in a line of a tree, in an object, on a page. The project, as it is before
// any filter, and the judgement outlive this object.
class EntryReport {
 public:
  EntryReport(const folder_host::WorkingCopy& project, const Judgement& judgement);

  // What an entry that is shared has not got of the labels of drop-files filters, by an exception or by a rule: whoever
  // looks through the tree has to see that this is meant. "excepted with 'drafts/final/' from audience/internal"
  std::vector<std::string> exceptionsOf(std::size_t entry) const;

  // Where the labels for which an entry is held back come from, unless they are attached to it: " (from 'drafts/')".
  std::string whenceOf(std::size_t entry) const;

  // {"type": "entry"}, as docs/json.md has it.
  Json jsonOf(std::size_t entry) const;

 private:
  const folder_host::WorkingCopy& project_;
  const Judgement& judgement_;
  const folder_host::LabelSources& sources_;
  std::set<std::size_t> dropping_;  // labels that drop-files filters name
};

}  // namespace project_share
