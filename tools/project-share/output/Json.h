#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "folder_host/files/Listing.h"
#include "folder_host/store/LabelStore.h"
#include "judgement/Risk.h"
#include "project/sharing/profiles/ExportProfile.h"

// The shapes that docs/json.md promises.
namespace project_share {

using Json = nlohmann::ordered_json;

// As UTF-8; what is none becomes U+FFFD.
std::string utf8(std::string_view bytes);
std::string utf8(std::u16string_view text);

// The object as it is written: valid UTF-8, characters that are not seen (folder_host::isUnseen) as escapes. Without an
// indent it is one line.
std::string written(const Json& object, int indent = -1);

// Sets `key` to the path and, where that is no UTF-8, `key` and "Hex" to its bytes.
void putPath(Json& object, const std::string& key, const std::string& bytes);

// The bytes that putPath was given; none where that was not so, or `object` is none.
std::optional<std::string> pathIn(const nlohmann::json& object, const std::string& key);
// Of lower-case digits, two a byte; none of anything else.
std::optional<std::string> bytesOf(const std::string& hex);

const char* wordOf(folder_host::EntryKind kind);  // "file", "folder", "link"

Json jsonOf(const folder_host::LabelRecord& label);
Json jsonOf(const Risk& risk);
Json jsonOf(const project::sharing::profiles::ExportProfile& profile);  // name and UUID
Json jsonOf(const folder_host::Entry& entry);                           // path and kind

}  // namespace project_share
