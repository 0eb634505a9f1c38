#pragma once

#include <set>
#include <string>
#include <vector>

#include "Preview.h"
#include "folder_host/Hazards.h"

namespace project_share {

using folder_host::Hazard;

// What a share by one profile would do, and the reasons not to do it as things stand.
struct Assessment {
  std::u16string name;  // of the profile
  std::u16string uuid;
  Preview preview;
  std::vector<Hazard> hazards;
  std::vector<Hazard> idle;  // what can hold nothing back: a hazard only to the strict
};

// Of a clone: the copy itself still has everything afterwards, and has to outlive the assessment.
Assessment assess(const folder_host::WorkingCopy& copy, const project::sharing::profiles::ExportProfile& profile);
// Without a profile, everything leaves.
Assessment assessWhole(const folder_host::WorkingCopy& copy);

// The identifiers of all hazards that can be allowed.
const std::vector<std::string>& allowableHazards();

// Those that are not allowed.
std::vector<Hazard> refusedAmong(const std::vector<Hazard>& hazards, const std::set<std::string>& allowed);

// "--allow a --allow b": what would allow them all.
std::string allowingFlags(const std::vector<Hazard>& hazards);

}  // namespace project_share
