#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/store/Address.h"
#include "output/View.h"

// One function a command. Each works on the project that holds the working directory, prints what it did or found, and
// throws what keeps it from that (folder_host::Error, Refusal, the library's errors): nothing has changed then.
namespace project_share {

// Makes the folder, which is there, a project with an empty store: in it or, unless `store` is empty, at that address.
void initProject(const std::string& folder, const std::string& store);
// Makes it another folder of the project whose store is at the address.
void joinStore(const std::string& store, const std::string& folder);
// That the project of another user that holds the folder is opened from now on, or no more.
void trustProject(const std::string& folder);
void forgetProject(const std::string& folder);
// What is labelled, what is not, folder by folder or entry by entry, and what a share by each profile would be refused
// for.
void showStatus(bool all);

// To be typed in another folder: without the options of this run, which say where that worked.
std::string joinCommand(const folder_host::Address& store);
// Where the project's store is, and in which state.
void showStore();
// To the address, which this makes. Errors: STORE_ON_SERVER, where it is on one already; those of
// FolderProject::moveTo.
void moveStoreTo(const std::string& address);
// Into the folder; on the server it is closed. Errors: STORE_IN_FOLDER, where it is there; those of
// FolderProject::moveBack.
void moveStoreBack();
// Lists which edits are lost on a server that has not what was seen of it, and takes what it has for right if `number`
// is how many they are. Errors: STORE_IN_FOLDER; STORE_WENT_BACK of any other number.
void acceptServer(std::int64_t number);
// Whether the edit with that id is kept, once everything that is in doubt has been decided. Error: EDIT_NOT_KEPT; of a
// user who may only read, that is for now.
void checkEdit(const std::string& id);
// That the store at the address may be asked, or no more. Error of the second: NOT_TRUSTED.
void trustStoreAt(const std::string& address);
void forgetStoreAt(const std::string& address);

// All of them or none.
void createLabels(const std::vector<std::string>& labels);
// By category and name, each with the numbers of its marks, those on missing paths included, and rules.
void listLabels();
// Within its category. Error: LABEL_NAME_TAKEN, also by a name that looks the same.
void renameLabel(const std::string& label, const std::string& name);
// With all its marks and rules. Error: LABEL_IN_USE as long as a profile names it.
void deleteLabel(const std::string& label);
// No filter may remove a protected label from a copy.
void protectLabel(const std::string& label, bool isProtected);

struct AttachWords {
  bool folderOnly = false;    // on the entries alone, not on what lies below them
  bool noExceptions = false;  // exceptions below are removed
};
// Labels as they were typed.
struct LabelWords {
  std::vector<std::string> labels;
  bool isList = false;     // LABEL[,LABEL...] each
  bool create = false;     // those that there are not, CATEGORY/NAME, in the same edit
  bool canCreate = false;  // the command would take --create
  bool notHere = false;    // also from paths at which nothing is in this folder, where others have the labels, too
};

// To entries and all that lies below them, now and later. What they have counts from then on, and not what they had
// under other names. Errors: PATH_NOT_AN_ENTRY; EXCEPTION_IN_THE_WAY of one entry alone.
void attachLabels(const LabelWords& labels, const std::vector<std::string>& paths, const AttachWords& words);
// After it, none of the paths, there or missing, carries one of the labels: what would still have it from above or by a
// rule is excepted. A file that is named may also be shared from then on, with what it holds, where that is what the
// label holds back elsewhere. Error: LABEL_NOT_ATTACHED of a path with none of them, or a label on none of the paths,
// also where it is only on what lies below; PATH_NOT_HERE of a mark on a path at which nothing is, where the store is
// on a server and the words do not say that it is meant.
void detachLabels(const LabelWords& labels, const std::vector<std::string>& paths);
// Takes what the labels (none given: all) have on paths at which nothing is: marks as detachLabels does, and
// exceptions. What is under another name now keeps its marks, and what may be, because files cannot be told by their
// identity. Errors: LABEL_NOT_MISSING where there is nothing to take; PATH_NOT_HERE where the store is on a server.
void detachMissing(const LabelWords& labels);
// Gives entries at the paths and below, or all, the labels that they had under other names, for good. Where the store
// is on a server, the old paths keep them, too.
void followLabels(const std::vector<std::string>& paths);
// What carried a label and is missing there or below is meant to be. Error: LABEL_NOT_MISSING.
void callMissing(const std::vector<std::string>& paths);

// Behind the rules that the label has; one that it has moves to the end. Error: PATTERN_MALFORMED.
void addRules(const std::string& label, const std::vector<std::string>& patterns);
// Error: RULE_NOT_FOUND.
void removeRules(const std::string& label, const std::vector<std::string>& patterns);
// Of the label, or of all where it is empty; in their order.
void listRules(const std::string& label);
// What rules and marks say of the path, whether or not anything is there; with a slash at its end it is a folder.
void testRules(const std::string& path);

// The labels of each path, and whence it has them. Error: PATH_NOT_AN_ENTRY.
void listLabelsOf(const std::vector<std::string>& paths);
// The entries that carry the label, and whence they have it.
void listFilesOf(const std::string& label);

// The edits in the log and the shares, by time; of edits, what they changed in sum or, of the one of that number, each
// change. 0: the last of them, or all. Error: EDIT_NOT_FOUND.
void showLog(std::int64_t number, bool all);
// Takes the edit of that number back; 0: the user's own last that stands and took none back itself. Errors:
// NOTHING_TO_UNDO; those of folder_host::History::undo.
void undoEdit(std::int64_t number);

// The paths on standard input, each ended by `end`. Error: INPUT_FAILED.
std::vector<std::string> readPaths(char end);

// Error of create, rename and duplicate: PROFILE_NAME_TAKEN, also by a name that looks the same.
// With what holdBack and shareOnly would add for these labels, LABEL[,LABEL...] each.
void createProfile(const std::string& name, const std::vector<std::string>& heldBack,
                   const std::vector<std::string>& sharedOnly);
// The labels come to the drop-files and the drop-labels filter of the profile, or to the keep-files and the keep-labels
// filter; each is made where there is none. A label that is there is no error.
void holdBack(const std::string& profile, const std::vector<std::string>& labels);
void shareOnly(const std::string& profile, const std::vector<std::string>& labels);
void listProfiles();
// Its filters in the order in which they are applied, with their labels, deleted ones included; what is not known of
// them; and what an entry without a label comes to, as the filters themselves answer.
void showProfile(const std::string& profile);
void renameProfile(const std::string& profile, const std::string& name);
// With all that is stored in it.
void duplicateProfile(const std::string& profile, const std::string& name);
void deleteProfile(const std::string& profile);
// To the filter of that kind where the profile has one: stored filters of one kind would become one.
void addFilter(const std::string& profile, const std::string& kind, const std::vector<std::string>& labels);
// The labels named, or without any the whole filter of that kind, which may be one that is not known.
void removeFilter(const std::string& profile, const std::string& kind, const std::vector<std::string>& labels);

// The labels with their marks and rules, the profiles and what else the store holds, as one text: to the file, or to
// standard output where it is "-". A file is made, or replaced where it is an export. Errors: EXPORT_EXISTS;
// EXPORT_MISPLACED in `.project`; EXPORT_FAILED.
void exportProject(const std::string& file);
struct ImportWords;
// Takes over what the file, or "-", standard input, has (exchange/Merging.h); only says so where it `isDry`. Errors:
// IMPORT_UNREADABLE, INPUT_FAILED, those of `merged`.
void importProject(const std::string& file, const ImportWords& words, bool isDry);

// What one --allow names: all risks of a kind, or the one at a path.
struct Allowed {
  std::string identifier;
  std::optional<std::string> path;
};

// What lets a share go on, and what stops it.
struct GateWords {
  std::vector<Allowed> allowed;
  bool strict = false;                   // notes are risks, too
  bool forbidsUnlabelled = false;        // what is shared without a label is a risk
  std::optional<std::string> from = {};  // a folder of the project: only what lies in it is handed out
  std::string approved = {};             // the digits that the judgement's digest begins with; empty: any
};

struct PreviewWords {
  std::string profile;
  ViewWords view;     // narrows the entries that are printed and nothing else
  GateWords gate;     // what it allows is not counted as refused
  std::string page;   // a file to be made, which tells all of it; empty: none
  std::string since;  // a receipt's file, or "last"; empty: none
};
// Nothing is refused here: risks are printed. Under --quiet, with a page, the page alone is made. Errors:
// PATH_NOT_AN_ENTRY of one of the paths of the view; those of setScope, of
// output/PageFile.h and of receipt/Since.h.
void previewProfile(const PreviewWords& words);
// Why one path is shared or held back. Error: PATH_NOT_AN_ENTRY where nothing is there.
void explainPath(const std::string& path, const std::string& profile);
// Why it was, as the receipt has it: a file, or "last", the last that is kept, of that profile where one is named.
// Errors: PATH_NOT_AN_ENTRY, RECEIPT_NOT_FOUND, RECEIPT_UNREADABLE.
void explainPathThen(const std::string& path, const std::string& profile, const std::string& receipt);

// Whether a share would be refused: prints what speaks against it, and makes nothing. Error: SHARE_REFUSED.
void checkProfile(const std::string& profile, const GateWords& words);

struct ShareWords {
  std::optional<std::string> profile;  // none: the whole project
  std::string destination;             // empty: none, which a dry run needs not; "-": standard output
  bool isPlain = false;                // without a store in it
  GateWords gate;
  std::string receipt;             // a file to be made; empty: none
  bool checksum = false;           // content is hashed for the receipt that the project keeps, too
  std::int64_t keptReceipts = 10;  // of this profile, scope and destination
  bool updates = false;            // the copy that is at the destination
  bool replaces = false;           // it, too, where it is not what was handed out
};
// Errors: SHARE_REFUSED, with the risks printed before; those of folder_host/share/HandOut.h, receipt/Receipt.h and
// commands/Update.h;
// Interrupted where a signal came. The copy is there all the same only where its receipt could not be named.
void share(const ShareWords& words);
// As checkProfile, and what a share would refuse of the destination and of the receipt's place.
void checkShare(const ShareWords& words);
// Whether a copy is what was handed out by the receipt or, where none is named, by one that the project keeps: prints
// each difference, then throws COPY_DIFFERS. Errors: RECEIPT_NOT_FOUND; of reading, RECEIPT_UNREADABLE,
// ENTRY_UNREADABLE.
void verifyCopy(const std::string& copy, const std::string& receipt);

}  // namespace project_share
