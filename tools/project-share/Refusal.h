#pragma once

#include "folder_host/Error.h"

namespace project_share {

// The tool refuses as the folder host does; nothing has been changed then.
using Refusal = folder_host::Error;

// The tool's own identifiers, beside those of the folder host. Those of risks stand in judgement/RiskKinds.h. What each
// of them means: docs/errors.md.
namespace refusals {
inline constexpr const char* ADDRESS_UNKNOWN = "address-unknown";
inline constexpr const char* EDIT_NOT_KEPT = "edit-not-kept";
inline constexpr const char* EXCEPTION_IN_THE_WAY = "exception-in-the-way";
inline constexpr const char* EXPORT_EXISTS = "export-exists";
inline constexpr const char* EXPORT_FAILED = "export-failed";
inline constexpr const char* EXPORT_MISPLACED = "export-misplaced";
inline constexpr const char* IMPORT_CONFLICT = "import-conflict";
inline constexpr const char* IMPORT_UNREADABLE = "import-unreadable";
inline constexpr const char* JUDGEMENT_DIFFERS = "judgement-differs";
inline constexpr const char* INPUT_FAILED = "input-failed";
inline constexpr const char* LABEL_AMBIGUOUS = "label-ambiguous";
inline constexpr const char* LABEL_IN_USE = "label-in-use";
inline constexpr const char* LABEL_MALFORMED = "label-malformed";
inline constexpr const char* LABEL_NOT_ATTACHED = "label-not-attached";
inline constexpr const char* LABEL_NOT_IN_FILTER = "label-not-in-filter";
inline constexpr const char* LABEL_NOT_MISSING = "label-not-missing";
inline constexpr const char* NOTHING_TO_UNDO = "nothing-to-undo";
inline constexpr const char* PAGE_EXISTS = "page-exists";
inline constexpr const char* PAGE_FAILED = "page-failed";
inline constexpr const char* PAGE_MISPLACED = "page-misplaced";
inline constexpr const char* PATH_NOT_A_FOLDER = "path-not-a-folder";
inline constexpr const char* PATH_NOT_HERE = "path-not-here";
inline constexpr const char* PATTERN_MALFORMED = "pattern-malformed";
inline constexpr const char* RULE_NOT_FOUND = "rule-not-found";
inline constexpr const char* FILTER_NOT_FOUND = "filter-not-found";
inline constexpr const char* NOT_TRUSTED = "not-trusted";
inline constexpr const char* SETTINGS_FAILED = "settings-failed";
inline constexpr const char* SHARE_REFUSED = "share-refused";
inline constexpr const char* RECEIPT_EXISTS = "receipt-exists";
inline constexpr const char* RECEIPT_MISPLACED = "receipt-misplaced";
inline constexpr const char* RECEIPT_FAILED = "receipt-failed";
inline constexpr const char* RECEIPT_NOT_FOUND = "receipt-not-found";
inline constexpr const char* RECEIPT_OF_ANOTHER = "receipt-of-another";
inline constexpr const char* RECEIPT_UNREADABLE = "receipt-unreadable";
inline constexpr const char* COPY_DIFFERS = "copy-differs";
inline constexpr const char* NOT_THIS_COPY = "not-this-copy";
inline constexpr const char* STORE_IN_FOLDER = "store-in-folder";
inline constexpr const char* STORE_ON_SERVER = "store-on-server";
inline constexpr const char* PROFILE_DAMAGED = "profile-damaged";
inline constexpr const char* PROFILE_NOT_FOUND = "profile-not-found";
inline constexpr const char* PROFILE_AMBIGUOUS = "profile-ambiguous";
inline constexpr const char* PROFILE_NAME_TAKEN = "profile-name-taken";
inline constexpr const char* OUTPUT_FAILED = "output-failed";
}  // namespace refusals

}  // namespace project_share
