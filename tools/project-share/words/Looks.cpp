#include "words/Looks.h"

#include <fmt/format.h>

#include "Refusal.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"

namespace project_share {

using folder_host::inQuotes;
using folder_host::toBytes;

std::optional<std::string> Looks::add(std::u16string_view name) {
  return add(folder_host::lookOf(toBytes(name)), toBytes(name));
}

// Each part for itself: a slash within one of them must not make two labels look like one.
std::optional<std::string> Looks::add(const std::u16string& category, const std::u16string& name) {
  return add(folder_host::lookOf(toBytes(category)) + "/" + folder_host::lookOf(toBytes(name)),
             toBytes(category + u"/" + name));
}

std::optional<std::string> Looks::add(const std::string& look, const std::string& name) {
  const auto [place, isNew] = byLook_.emplace(look, name);
  return isNew ? std::nullopt : std::optional(place->second);
}

LabelLooks::LabelLooks(const std::vector<folder_host::LabelRecord>& labels, const std::u16string& itself) {
  for (const auto& label : labels) {
    categories_.add(label.categoryName);
    if (label.uuid != itself) labels_.add(label.categoryName, label.name);
  }
}

// A category is made with its first label. One that looks like another would split what is one category to a person,
// and a filter would name the labels of one half.
void LabelLooks::add(const std::u16string& category, const std::u16string& name) {
  const auto known = categories_.add(category);
  if (known && *known != toBytes(category)) {
    throw Refusal(folder_host::errors::LABEL_NAME_TAKEN,
                  fmt::format("there is already a category {}, which looks like {}; write it as that one",
                              inQuotes(*known), inQuotes(category)));
  }
  const auto other = labels_.add(category, name);
  if (!other) return;
  throw Refusal(folder_host::errors::LABEL_NAME_TAKEN,
                fmt::format("there is already a label {}{}; choose another name", inQuotes(*other),
                            *other == toBytes(category + u"/" + name) ? "" : ", which looks the same"));
}

}  // namespace project_share
