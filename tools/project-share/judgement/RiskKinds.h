#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "folder_host/share/Allowances.h"
#include "judgement/Risk.h"

namespace project_share {

using folder_host::Allowances;

enum class Level {
  risk,  // a share is refused for it, unless it is allowed
  note,  // it is told, and is a risk to the strict alone
};

// All that can be told of a share, or of a project, before anything is handed out. The manual page and docs/errors.md
// have these meanings word for word.
struct RiskKind {
  const char* identifier;
  Level level;
  const char* meaning;
};

// A new kind is a row of this table, and what finds it.
namespace risks {
inline constexpr RiskKind FOLDER_SPARED{
    "folder-spared", Level::risk,
    "a drop-files filter selects a folder by a label that does not reach what lies in it, and a file in it is shared"};
inline constexpr RiskKind LABEL_ON_MISSING_PATH{
    "label-on-missing-path", Level::risk,
    "what carried a label that a drop-files filter names is not there, and perhaps is under another name"};
inline constexpr RiskKind LABEL_DELETED{"label-deleted", Level::risk,
                                        "a filter names a label that was deleted, and selects nothing by it"};
inline constexpr RiskKind FILTER_SKIPPED{
    "filter-skipped", Level::risk, "the profile holds a filter or an item of an unknown kind, which does nothing"};
inline constexpr RiskKind HISTORY_INSIDE{
    "history-inside", Level::risk,
    "what keeps earlier states of files would be shared: a version control's folder, an editor's, a bin"};
inline constexpr RiskKind LEFTOVER{
    "leftover", Level::risk,
    "by its name a file is a backup, swap file, copy or archive of what is held back beside it"};
inline constexpr RiskKind SAME_CONTENT{
    "same-content", Level::risk,
    "a file has the content of one that a drop-files filter holds back, or is the same file (a hard link)"};
inline constexpr RiskKind NESTED_PROJECT{folder_host::errors::NESTED_PROJECT, Level::risk,
                                         "another project, or a project's store, a receipt, a page or an export under "
                                         "any name, lies in what would be shared"};
inline constexpr RiskKind LABEL_LEAVES{"label-leaves", Level::risk,
                                       "a label by which a drop-files filter holds files back leaves, with its name"};
inline constexpr RiskKind LABEL_PROTECTED{"label-protected", Level::risk,
                                          "a label that a drop-labels filter names leaves, because it is protected"};
inline constexpr RiskKind NAMES_COLLIDE{folder_host::errors::NAMES_COLLIDE, Level::risk,
                                        "on a disk where case makes no difference, two names would become one"};
inline constexpr RiskKind NOTHING_SHARED{"nothing-shared", Level::risk, "no entry would be shared"};
inline constexpr RiskKind UNLABELLED_SHARED{
    "unlabelled-shared", Level::risk, "under --forbid unlabelled: files or links without a label would be shared"};
inline constexpr RiskKind ENTRY_CHANGED{folder_host::errors::ENTRY_CHANGED, Level::risk,
                                        "a file changed after it was listed"};
inline constexpr RiskKind ATTRIBUTES_STAY{"attributes-stay", Level::note,
                                          "what is shared has extended attributes, and these do not leave"};
inline constexpr RiskKind NEWLY_SHARED{
    "newly-shared", Level::note,
    "what was not in the last share is shared by a label that it has from a folder above or by a rule"};
inline constexpr RiskKind FILTER_IDLE{"filter-idle", Level::note,
                                      "a filter can take nothing out, or there is no filter at all"};
inline constexpr RiskKind LABEL_IDLE{"label-idle", Level::note,
                                     "a label that a drop-files filter names is attached to nothing"};
inline constexpr RiskKind RULE_IDLE{"rule-idle", Level::note,
                                    "a rule has no effect: it matches nothing that is there, or a later rule decides"};
inline constexpr RiskKind LABEL_FOLLOWED{
    "label-followed", Level::note,
    "an entry had other labels under another name, and is held back because only one of the two sets would share it"};
inline constexpr RiskKind EXCEPTION_HIDES_RULE{"exception-hides-rule", Level::note,
                                               "an exception hides a rule of a label that a drop-files filter names"};
inline constexpr RiskKind MEMORY_UNREADABLE{
    "memory-unreadable", Level::note,
    "what the folder noted of labelled entries is damaged: what was renamed is not found again"};
inline constexpr RiskKind MEMORY_FAILED{
    folder_host::errors::MEMORY_FAILED, Level::note,
    "it could not be noted which entries have labels: what is renamed is not found again"};
inline constexpr RiskKind SHARE_UNLISTED{
    "share-unlisted", Level::note,
    "a share is not listed in the log, or the list cannot be read: the project's folder does not allow it"};
inline constexpr RiskKind RECEIPT_UNKEPT{"receipt-unkept", Level::note,
                                         "the project keeps no receipt of a share: its folder does not allow it"};
inline constexpr RiskKind RECEIPT_DAMAGED{
    "receipt-damaged", Level::note,
    "a receipt that the project keeps cannot be read, so an earlier share is told of, or none"};
inline constexpr RiskKind NOT_AT_ONCE{
    "not-at-once", Level::note,
    "an update takes two steps, and between them nothing is at the destination: the file system knows no exchange"};
inline constexpr RiskKind COPY_KEPT{
    "copy-kept", Level::note,
    "the copy that was updated is kept beside the new one: nothing shows that nobody wrote to it"};
inline constexpr RiskKind ALLOW_IDLE{"allow-idle", Level::note, "an --allow allowed nothing"};
inline constexpr RiskKind LABEL_ON_LINK{"label-on-link", Level::note,
                                        "a label was attached to a link, and not to what it leads to"};
inline constexpr RiskKind LABEL_UNNAMED{"label-unnamed", Level::note, "no profile names the label"};
inline constexpr RiskKind LOOKS_ALIKE{"looks-alike", Level::note,
                                      "two labels, categories or profiles have names that look alike"};

inline constexpr const RiskKind* ALL[] = {&FOLDER_SPARED,
                                          &LABEL_ON_MISSING_PATH,
                                          &LABEL_DELETED,
                                          &FILTER_SKIPPED,
                                          &HISTORY_INSIDE,
                                          &LEFTOVER,
                                          &SAME_CONTENT,
                                          &NESTED_PROJECT,
                                          &LABEL_LEAVES,
                                          &LABEL_PROTECTED,
                                          &NAMES_COLLIDE,
                                          &NOTHING_SHARED,
                                          &UNLABELLED_SHARED,
                                          &ENTRY_CHANGED,
                                          &ATTRIBUTES_STAY,
                                          &NEWLY_SHARED,
                                          &FILTER_IDLE,
                                          &LABEL_IDLE,
                                          &RULE_IDLE,
                                          &LABEL_FOLLOWED,
                                          &EXCEPTION_HIDES_RULE,
                                          &MEMORY_UNREADABLE,
                                          &MEMORY_FAILED,
                                          &SHARE_UNLISTED,
                                          &RECEIPT_UNKEPT,
                                          &RECEIPT_DAMAGED,
                                          &NOT_AT_ONCE,
                                          &COPY_KEPT,
                                          &ALLOW_IDLE,
                                          &LABEL_ON_LINK,
                                          &LABEL_UNNAMED,
                                          &LOOKS_ALIKE};
}  // namespace risks

// What was found of one share. A kind's level is what it mostly is: a label on a missing path lets nothing out where no
// drop-files filter names it, and is noted.
struct Findings {
  std::vector<Risk> risks;
  std::vector<Risk> notes;

  // Gives it back, for what else is to be said of it; good until the next one is added.
  Risk& add(const RiskKind& kind, const std::string& path, std::string what, std::vector<Mend> mends = {}) {
    std::vector<Risk>& found = kind.level == Level::risk ? risks : notes;
    found.push_back({kind.identifier, path, std::move(what), {}, std::move(mends)});
    return found.back();
  }
};

// The identifiers of the risks: what can be allowed.
const std::vector<std::string>& allowableRisks();

// A risk that is about several paths is allowed when each of them is.
bool isRefused(const Risk& risk, const Allowances& allowed);
// Those that are not allowed, in their order.
std::vector<Risk> refusedAmong(const std::vector<Risk>& risks, const Allowances& allowed);

// "--allow a --allow b": what would allow them all, as far as anything does; sorted, each kind once. Empty
// where nothing does.
std::string allowingFlags(const std::vector<Risk>& risks);

}  // namespace project_share
