#pragma once

#include "folder_host/Error.h"

namespace project_share {

// The tool refuses as the folder host does; nothing has been changed then.
using Refusal = folder_host::Error;

// The tool's own identifiers, beside those of the folder host.
namespace refusals {
inline constexpr const char* INPUT_FAILED = "input-failed";
inline constexpr const char* LABEL_AMBIGUOUS = "label-ambiguous";
inline constexpr const char* LABEL_IN_USE = "label-in-use";
inline constexpr const char* LABEL_MALFORMED = "label-malformed";
inline constexpr const char* LABEL_NOT_ATTACHED = "label-not-attached";
inline constexpr const char* LABEL_NOT_IN_FILTER = "label-not-in-filter";
inline constexpr const char* FILTER_NOT_FOUND = "filter-not-found";
inline constexpr const char* LABEL_DELETED = "label-deleted";
inline constexpr const char* FILTER_SKIPPED = "filter-skipped";
inline constexpr const char* FILTER_IDLE = "filter-idle";
inline constexpr const char* LABEL_IDLE = "label-idle";
inline constexpr const char* FOLDER_SPARED = "folder-spared";
inline constexpr const char* LABEL_ON_MISSING_PATH = "label-on-missing-path";
inline constexpr const char* LABEL_ON_LINK = "label-on-link";
inline constexpr const char* LABEL_LEAVES = "label-leaves";
inline constexpr const char* LABEL_PROTECTED = "label-protected";
inline constexpr const char* LABEL_UNNAMED = "label-unnamed";
inline constexpr const char* LOOKS_ALIKE = "looks-alike";
inline constexpr const char* HISTORY_INSIDE = "history-inside";
inline constexpr const char* LEFTOVER = "leftover";
inline constexpr const char* SAME_CONTENT = "same-content";
inline constexpr const char* NOTHING_SHARED = "nothing-shared";
inline constexpr const char* ALLOW_IDLE = "allow-idle";
inline constexpr const char* NOT_TRUSTED = "not-trusted";
inline constexpr const char* SETTINGS_FAILED = "settings-failed";
inline constexpr const char* SHARE_REFUSED = "share-refused";
inline constexpr const char* RECEIPT_EXISTS = "receipt-exists";
inline constexpr const char* RECEIPT_MISPLACED = "receipt-misplaced";
inline constexpr const char* RECEIPT_FAILED = "receipt-failed";
inline constexpr const char* RECEIPT_UNREADABLE = "receipt-unreadable";
inline constexpr const char* COPY_DIFFERS = "copy-differs";
inline constexpr const char* PROFILE_DAMAGED = "profile-damaged";
inline constexpr const char* PROFILE_NOT_FOUND = "profile-not-found";
inline constexpr const char* PROFILE_AMBIGUOUS = "profile-ambiguous";
inline constexpr const char* PROFILE_NAME_TAKEN = "profile-name-taken";
inline constexpr const char* OUTPUT_FAILED = "output-failed";
}  // namespace refusals

}  // namespace project_share
