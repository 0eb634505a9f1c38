#include "commands/Approval.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "Refusal.h"
#include "commands/Gate.h"
#include "judgement/Digest.h"
#include "judgement/Judge.h"
#include "output/Json.h"
#include "output/Page.h"
#include "receipt/FoundReceipt.h"
#include "words/FilterKinds.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::FolderProject;

namespace {

constexpr std::size_t KEPT_JUDGEMENTS = 10;

std::optional<KeptReceipt> keptJudgement(const FolderProject& project, const std::string& approved) {
  for (KeptReceipt& kept : keptReceipts(project, JUDGEMENTS)) {
    if (kept.head.judgement.compare(0, approved.size(), approved) == 0) return std::move(kept);
  }
  return std::nullopt;
}

// What may be behind it where no entry has changed.
std::string otherCause(const ReceiptSource& source, ReceiptReader& page) {
  std::set<std::string> allowed;
  page.forEachOf("allowed", [&](const nlohmann::json& one) { allowed.insert(one.get<std::string>()); });
  if (allowed == source.allowed) return "labels, reasons or risks have changed";
  return allowed.empty() ? "it was made without --allow"
                         : fmt::format("it was made with --allow {}", fmt::join(allowed, " --allow "));
}

// Prints the changes.
std::string causeOf(const FolderProject& project, const ReceiptSource& source, const std::string& approved) {
  const auto kept = keptJudgement(project, approved);
  if (!kept) return "of that page nothing is kept here; --from and each --allow have to be as they were for it";
  ReceiptReader page = openKept(project, *kept, JUDGEMENTS);
  if (const auto other = otherThan(source.judgement, page.head())) return "that page is " + *other;
  const Since since = sinceOf(source.judgement, page);
  if (since.isNothing()) return "no entry has changed since that page, but " + otherCause(source, page);
  printSince(since);
  return "what has changed since that page is listed on standard output";
}

}  // namespace

ReceiptSource sourceOf(const folder_host::WorkingCopy& project, const Judgement& judgement,
                       const profiles::ExportProfile* profile, const GateWords& words) {
  ReceiptSource source{project, judgement, profile};
  for (const std::string& one : argumentsOf(words)) source.allowed.insert(utf8(one));
  source.risks = verdictOf(judgement.found, words).allowed;
  return source;
}

std::optional<Since> sinceLastShare(const FolderProject& project, const folder_host::WorkingCopy& copy,
                                    const profiles::ExportProfile* profile, Judgement& judgement, bool isWanted) {
  if (profile == nullptr) return std::nullopt;
  const Filters filters = profile->getFilters();
  const bool keeps =
      std::any_of(filters.begin(), filters.end(), [](const auto& filter) { return keepsFiles(filter->getType()); });
  if (!keeps && !isWanted) return std::nullopt;
  const std::uint64_t most = isWanted ? ReceiptReader::MOST : roomForEntries(copy.table().size());
  std::optional<ReceiptReader> last = lastReceipt(project, judgement, most, judgement.found.notes);
  if (!last) return std::nullopt;
  Since since = sinceOf(judgement, *last);
  noteNewlyShared(copy, filters, since, judgement);
  return since;
}

std::string keepJudgement(const FolderProject& project, const ReceiptSource& source) {
  ReceiptHead head = headOf(source, {});
  digest(head, source);
  try {
    Keeping kept(project, head, JUDGEMENTS);
    writeReceipt(head, source, [&](std::string_view text) { kept.put(text); });
    kept.finish();
    kept.complete();
    forgetOlder(project, head, KEPT_JUDGEMENTS, JUDGEMENTS);
  } catch (const std::system_error&) {  // the page says all the same what it says
  }
  return head.judgement;
}

void requireApproved(const FolderProject& project, const ReceiptSource& source, const GateWords& words) {
  if (words.approved.empty()) return;
  const std::string digest = digestOf(source.judgement, source.allowed);
  if (digest.compare(0, words.approved.size(), words.approved) == 0) return;
  const std::string cause = causeOf(project, source, words.approved);
  throw Refusal(refusals::JUDGEMENT_DIFFERS,
                fmt::format("what would be shared is not what was approved: {}; for a new page: {}", cause,
                            commandOf({"preview", wordFor(source.judgement)}) + " --html FILE"));
}

}  // namespace project_share
