#pragma once

#include <string>
#include <utility>
#include <vector>

#include "folder_host/share/Risks.h"
#include "judgement/Preview.h"

namespace project_share {

using folder_host::Allowances;
using folder_host::Risk;

// A label that leaves with the copy, and how many of the entries that leave carry it.
struct LeavingLabel {
  folder_host::LabelRecord label;
  std::size_t entries;
};

// What a share by one profile would do, and the reasons not to do it as things stand.
struct Assessment {
  std::u16string name;  // of the profile
  std::u16string uuid;
  Preview preview;
  std::vector<LeavingLabel> leaving;  // by name
  std::vector<Risk> risks;
  std::vector<Risk> notes;  // risks only to the strict
};

// Of a clone: the copy itself still has everything afterwards, and has to outlive the assessment. Content is read from
// the project's folder where it has to be compared.
Assessment assess(const folder_host::WorkingCopy& copy, const project::sharing::profiles::ExportProfile& profile);
// Without a profile, everything leaves.
Assessment assessWhole(const folder_host::WorkingCopy& copy);

// LABEL_ON_MISSING_PATH for every label, whatever a profile makes of it.
std::vector<Risk> missingPaths(const folder_host::WorkingCopy& copy);

// The identifiers of all risks that can be allowed.
const std::vector<std::string>& allowableRisks();

// Those that are not allowed.
std::vector<Risk> refusedAmong(const std::vector<Risk>& risks, const Allowances& allowed);

// "--allow a --allow b": what would allow them all, as far as anything does.
std::string allowingFlags(const std::vector<Risk>& risks);

}  // namespace project_share
