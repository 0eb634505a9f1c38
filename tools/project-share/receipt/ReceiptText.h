#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/share/HandOut.h"
#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"
#include "judgement/Risk.h"
#include "receipt/ReceiptReader.h"
#include "words/Profiles.h"

namespace project_share {

// What a receipt is made of.
struct ReceiptSource {
  const folder_host::WorkingCopy& project;  // before the profile was applied: its entries have their labels
  const Judgement& judgement;
  const profiles::ExportProfile* profile;             // none: the whole project
  std::set<std::string> allowed = {};                 // as it was written
  std::vector<Risk> risks = {};                       // that were allowed
  const folder_host::HandedOut* handedOut = nullptr;  // none: what was listed stands for what was written
  std::vector<std::string> digests = {};              // SHA-256 of each shared entry's content; none were asked for
};

// Where the path in the copy begins in the path of an entry that lies in the folder `from`.
inline std::size_t below(const std::string& from) { return from.empty() ? 0 : from.size() + 1; }

// The head of that receipt, now, of a folder; without its digests.
ReceiptHead headOf(const ReceiptSource& source, const std::string& destination);
// Adds the digests.
void digest(ReceiptHead& head, const ReceiptSource& source);

// Writes the receipt part by part, as docs/json.md has it.
void writeReceipt(const ReceiptHead& head, const ReceiptSource& source,
                  const std::function<void(std::string_view)>& put);

}  // namespace project_share
