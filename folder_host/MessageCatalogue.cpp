#include "folder_host/MessageCatalogue.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

constexpr const char* COMPONENT = "ORCHID:project:sharing";

constexpr std::array<Message, 5> MESSAGES = {{
    {"ExportProfileUuidNotFound", "no export profile has the given UUID", u"No export profile has the UUID %1."},
    {"ExportProfileNameNotUnique", "several export profiles have the given name",
     u"Several export profiles have the name %1; name the one you mean by its UUID."},
    {"ExportProfileNameNotFound", "no export profile has the given name", u"No export profile has the name %1."},
    {"ExportProfilesStartupFailure", "the export profiles could not be started",
     u"The export profiles of the project could not be started."},
    {"ExportProfileAlreadyExists", "there is already such an export profile",
     u"The project already has an export profile of that name or UUID."},
}};

using Argument = std::variant<long, std::string, std::u16string>;

std::u16string textOf(const Argument& argument) {
  if (const auto* text = std::get_if<std::u16string>(&argument)) return *text;
  if (const auto* bytes = std::get_if<std::string>(&argument)) return fromBytes(*bytes);
  return fromBytes(std::to_string(std::get<long>(argument)));
}

// What the catalogue does not know is shown whole: the identifier and the arguments are all that there is to go by.
std::u16string listed(const resource_core::BaseMsgID& record) {
  std::u16string text = fromBytes(messageIdentifier(record));
  const char16_t* before = u" (";
  for (const Argument& argument : record.arguments) {
    (text += before) += textOf(argument);
    before = u", ";
  }
  return record.arguments.empty() ? text : text += u')';
}

}  // namespace

const Message* findMessage(const resource_core::BaseMsgID& record) noexcept {
  if (record.component != COMPONENT) return nullptr;
  const auto* const found =
      std::find_if(MESSAGES.begin(), MESSAGES.end(), [&](const Message& message) { return record.key == message.key; });
  return found == MESSAGES.end() ? nullptr : found;
}

// An argument is a name that somebody has chosen. In quotes it cannot be read as words of the sentence.
std::u16string messageText(const resource_core::BaseMsgID& record) {
  const Message* message = findMessage(record);
  if (message == nullptr) return listed(record);
  std::u16string text = message->sentence;
  const std::size_t placeholder = text.find(u"%1");
  if (placeholder == std::u16string::npos) return text;
  return record.arguments.empty() ? listed(record)
                                  : text.replace(placeholder, 2, fromBytes(inQuotes(textOf(record.arguments.front()))));
}

std::string messageIdentifier(const resource_core::BaseMsgID& record) { return record.component + ":" + record.key; }

}  // namespace folder_host
