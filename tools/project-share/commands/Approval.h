#pragma once

#include <optional>
#include <string>

#include "commands/Commands.h"
#include "folder_host/FolderProject.h"
#include "judgement/Judgement.h"
#include "receipt/ReceiptText.h"
#include "receipt/Since.h"

// What was looked at before, and what has become of it: earlier shares, and pages that somebody agreed to.
namespace project_share {

// What a receipt of this judgement would be made of.
ReceiptSource sourceOf(const folder_host::WorkingCopy& project, const Judgement& judgement,
                       const profiles::ExportProfile* profile, const GateWords& words);

// What has changed since the last share by the profile; none where no receipt of it is kept that can be read, or where
// nobody wants it and the profile has no keep-files filter. A receipt much longer than one of this project is read only
// where it is wanted. NEWLY_SHARED and RECEIPT_DAMAGED are noted (receipt/Since.h).
std::optional<Since> sinceLastShare(const folder_host::FolderProject& project, const folder_host::WorkingCopy& copy,
                                    const profiles::ExportProfile* profile, Judgement& judgement,
                                    bool isWanted = false);

// Keeps what a page tells, for whoever asks later what has changed since, as far as the project's folder allows it.
// Gives the digest that names it.
std::string keepJudgement(const folder_host::FolderProject& project, const ReceiptSource& source);

// Throws JUDGEMENT_DIFFERS where words.approved names another judgement; prints what has changed since that, where it
// is known. Nothing where none was named.
void requireApproved(const folder_host::FolderProject& project, const ReceiptSource& source, const GateWords& words);

}  // namespace project_share
