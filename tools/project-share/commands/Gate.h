#pragma once

#include <set>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "folder_host/FolderProject.h"
#include "folder_host/share/Traces.h"
#include "judgement/Judgement.h"
#include "words/Profiles.h"

// Whether a share may go on: the same answer for whoever shares and whoever only asks.
namespace project_share {

Allowances allowancesOf(const GateWords& words);
// As they were written.
std::set<std::string> argumentsOf(const GateWords& words);

// What lies in the folder that these words name, where they name one, is what is handed out: see WorkingCopy::setScope.
// To be called before the judgement. Errors: those of
// FolderProject::locate, PATH_NOT_AN_ENTRY, PATH_NOT_A_FOLDER, NESTED_PROJECT.
void setScope(const folder_host::FolderProject& project, const GateWords& words, folder_host::WorkingCopy& copy);

// Of the profile or, without one, the whole project, with all that a hand-out would refuse of what was listed (as far
// as it is looked for), and with what these words forbid. Notes what they allowed in vain, as far as that is known
// before anything is copied.
Judgement judgeFor(folder_host::WorkingCopy& copy, const profiles::ExportProfile* profile, const GateWords& words,
                   folder_host::Look look = folder_host::Look::each);

// Notes each --allow ENTRY_CHANGED that allowed none of these, which are known only when all is copied.
void addIdleAfterwards(const GateWords& words, const std::vector<Risk>& risks, std::vector<Risk>& notes);

// What was found, as these words take it.
struct Verdict {
  std::vector<Risk> refused;  // risks and, for the strict, notes
  std::vector<Risk> allowed;
  std::vector<Risk> notes;
};
Verdict verdictOf(const Findings& found, const GateWords& words);

// Throws SHARE_REFUSED where anything is refused; it has been printed by then.
void refuse(const Verdict& verdict);

}  // namespace project_share
