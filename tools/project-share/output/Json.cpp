#include "output/Json.h"

#include <fmt/format.h>

#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"
#include "words/Profiles.h"

namespace project_share {

namespace {

bool isSurrogate(char16_t unit, char16_t first) { return (unit & 0xfc00) == first; }

// Half of a pair of which the other half is missing: no character.
bool isLone(std::u16string_view text, std::size_t at) {
  if (isSurrogate(text[at], 0xd800)) return at + 1 == text.size() || !isSurrogate(text[at + 1], 0xdc00);
  return isSurrogate(text[at], 0xdc00) && (at == 0 || !isSurrogate(text[at - 1], 0xd800));
}

}  // namespace

std::string utf8(std::u16string_view text) {
  std::u16string whole(text);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLone(text, i)) whole[i] = u'\xfffd';
  }
  return folder_host::toBytes(whole);
}

std::string utf8(std::string_view bytes) { return utf8(std::u16string_view(folder_host::fromBytes(bytes))); }

// Beyond ASCII, texts alone have anything.
// A program may show what it reads. Characters that are not seen, or turn the line around, are escaped for its user,
// too; to a reader of JSON the escape is the character.
std::string written(const Json& object, int indent) {
  const std::string plain = object.dump(indent, ' ', false, Json::error_handler_t::replace);
  std::string result;
  result.reserve(plain.size());
  for (std::string_view rest = plain; !rest.empty();) {
    const folder_host::Character first = folder_host::firstCharacter(rest);
    const std::string_view bytes = rest.substr(0, first.length);
    if (first.point >= 0x7f && folder_host::isUnseen(first.point)) {
      for (const char16_t unit : folder_host::fromBytes(bytes)) result += fmt::format("\\u{:04x}", unsigned{unit});
    } else {
      result += bytes;
    }
    rest.remove_prefix(first.length);
  }
  return result;
}

// JSON is UTF-8, and a path need not be: what is shown is readable, and the hexadecimal digits are the path.
void putPath(Json& object, const std::string& key, const std::string& bytes) {
  object[key] = utf8(bytes);
  if (object[key].get_ref<const std::string&>() != bytes) object[key + "Hex"] = folder_host::hexOf(bytes);
}

// No upper case: a path has one form, so two texts that differ are two paths.
std::optional<std::string> bytesOf(const std::string& hex) {
  if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdef") != std::string::npos) return {};
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

std::optional<std::string> pathIn(const nlohmann::json& object, const std::string& key) {
  const auto text = object.find(key);
  if (text == object.end() || !text->is_string()) return {};
  const auto hex = object.find(key + "Hex");
  if (hex == object.end()) return text->get<std::string>();
  // Text and digits have to be of one path: else a crafted receipt could show one path and be about another.
  auto bytes = hex->is_string() ? bytesOf(hex->get<std::string>()) : std::nullopt;
  return bytes && utf8(*bytes) == text->get<std::string>() ? std::move(bytes) : std::nullopt;
}

const char* wordOf(folder_host::EntryKind kind) {
  if (kind == folder_host::EntryKind::folder) return "folder";
  return kind == folder_host::EntryKind::link ? "link" : "file";
}

Json jsonOf(const folder_host::LabelRecord& label) {
  return {{"uuid", utf8(label.uuid)},
          {"category", utf8(label.categoryName)},
          {"name", utf8(label.name)},
          {"protected", label.isProtected}};
}

namespace {

Json objectOf(const Mend& mend) {
  Json object{{"purpose", mend.purpose}};
  if (!mend.command.text.empty()) object[mend.command.isTyped ? "command" : "instead"] = utf8(mend.command.text);
  return object;
}

}  // namespace

// Each path, label and command stands by itself, so that no program has to find it in a sentence.
Json jsonOf(const Risk& risk) {
  Json object{{"type", "risk"}, {"identifier", risk.identifier}};
  if (!risk.path.empty()) putPath(object, "path", risk.path);
  for (const std::string& path : risk.otherPaths) {
    Json other;
    putPath(other, "path", path);
    object["others"].push_back(other);
  }
  object["labels"] = Json::array();
  for (const folder_host::LabelRecord& label : risk.labels) {
    const bool isDeleted = label.categoryUUID.empty();
    object["labels"].push_back(isDeleted ? Json{{"uuid", utf8(label.uuid)}, {"deleted", true}} : jsonOf(label));
  }
  if (risk.filter != 0) object.update({{"filter", risk.filter}, {"kind", risk.filterKind}});
  object["commands"] = Json::array();
  for (const Mend& mend : risk.mends) object["commands"].push_back(objectOf(mend));
  object["message"] = utf8(messageOf(risk));
  return object;
}

Json jsonOf(const project::sharing::profiles::ExportProfile& profile) {
  return {{"uuid", utf8(profile.getUUID())}, {"name", utf8(nameOf(profile))}};
}

Json jsonOf(const folder_host::Entry& entry) {
  Json object;
  putPath(object, "path", entry.path);
  object["kind"] = wordOf(entry.kind);
  return object;
}

}  // namespace project_share
