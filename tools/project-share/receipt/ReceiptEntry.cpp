#include "receipt/ReceiptEntry.h"

#include <fmt/format.h>

#include <tuple>
#include <utility>

#include "output/Json.h"
#include "words/Names.h"

namespace project_share {

bool operator==(const ReceiptHead& a, const ReceiptHead& b) {
  const auto all = [](const ReceiptHead& head) {
    return std::tie(head.time, head.profileUuid, head.profileName, head.from, head.destination, head.shape,
                    head.isPlain, head.hasContent, head.judgement, head.copy, head.revision, head.edit, head.address);
  };
  return all(a) == all(b);
}

Json jsonOf(const ReceiptHead& head) {
  Json object{{"receipt", 2}, {"time", head.time}};
  const bool whole = head.profileUuid.empty();
  object["profile"] = whole ? Json() : Json{{"uuid", head.profileUuid}, {"name", head.profileName}};
  putPath(object, "from", head.from);
  putPath(object, "destination", head.destination);
  object["shape"] = head.shape;
  object["plain"] = head.isPlain;
  object["content"] = head.hasContent;
  object["judgement"] = head.judgement;
  object["copy"] = head.copy;
  object["store"] = {{"address", head.address.empty() ? Json() : Json(head.address)},
                     {"revision", head.revision},
                     {"edit", head.edit}};
  return object;
}

std::string reasonInWords(const nlohmann::json& reason) {
  const std::string rule = reason.at("rule");
  if (rule == "link") return "a link to what is not handed out";
  if (rule == "emptied") return "nothing in it is shared";
  const std::string kind = reason.at("kind");
  std::string text = fmt::format("filter {}, {}: ", reason.at("filter").get<std::uint64_t>(), kind);
  if (rule == "folder") return text + "lies in a folder that is held back";
  const nlohmann::json& labels = reason.at("labels");
  if (labels.empty()) return text + "without a label";
  if (kind == "keep-files") text += "not listed: ";
  const char* separator = "";
  for (const nlohmann::json& label : labels) {
    text += std::exchange(separator, ", ") +
            folder_host::freeName(label.value("category", "") + "/" + label.value("name", ""));
  }
  const auto from = pathIn(reason, "from");
  return text + (from ? fmt::format(" (by the labels that it had as {})", folder_host::inQuotes(*from)) : "");
}

}  // namespace project_share
