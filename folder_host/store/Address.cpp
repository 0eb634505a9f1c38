#include "folder_host/store/Address.h"

#include <algorithm>
#include <cctype>

#include "folder_host/Error.h"
#include "folder_host/text/Printable.h"

namespace folder_host {

namespace {

constexpr const char* FORM = "postgresql://HOST/DB?project=NAME";

// Nothing of the address is shown: what makes it unusable may be a password in it.
[[noreturn]] void refuse(const char* why) {
  throw Error(errors::ADDRESS_UNUSABLE, std::string("this address cannot be used: ") + why + "; write " + FORM);
}

bool isPlain(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || std::string_view("-._~").find(c) != std::string_view::npos;
}

std::string encoded(const std::string& text) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    isPlain(c) ? result += c : (result += '%', result += DIGITS[byte >> 4U], result += DIGITS[byte & 15U]);
  }
  return result;
}

int digitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int letter = std::tolower(static_cast<unsigned char>(c));
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// One line that a person can read and compare: what is asked about before the first use must be what is used.
std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result += text[i];
      continue;
    }
    const int high = i + 2 < text.size() ? digitOf(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? digitOf(text[i + 2]) : -1;
    if (high < 0 || low < 0) refuse("a % in it is not followed by two digits");
    result += static_cast<char>(high * 16 + low);
    i += 2;
  }
  if (result.empty() || shown(result) != result) refuse("a part of it is empty, or cannot be shown");
  return result;
}

// What no name or number of a host has would be taken for something else by whoever connects.
std::string checkedHosts(std::string_view hosts) {
  if (hosts.find('@') != std::string_view::npos) {
    refuse("it has a user or a password in it, which belong in ~/.pgpass, a service file or the environment");
  }
  const auto isOf = [](char c) { return isPlain(c) || std::string_view(":,[]").find(c) != std::string_view::npos; };
  if (!std::all_of(hosts.begin(), hosts.end(), isOf)) refuse("its host is none");
  return std::string(hosts);
}

void readOption(std::string_view option, Address& address) {
  const std::size_t equals = option.find('=');
  const std::string_view name = option.substr(0, equals);
  std::string* const part = name == "project" ? &address.project : name == "service" ? &address.service : nullptr;
  if (part == nullptr) {
    refuse(
        "it takes the options project and service, each once; others belong in a service file or in the environment");
  }
  if (!part->empty()) refuse("it has an option twice");
  *part = decoded(equals == std::string_view::npos ? std::string_view() : option.substr(equals + 1));
}

}  // namespace

std::string Address::text() const {
  std::string text = "postgresql://" + hosts + "/" + encoded(database) + "?project=" + encoded(project);
  if (!service.empty()) text += "&service=" + encoded(service);
  return text;
}

Address parseAddress(std::string_view text) {
  constexpr std::size_t LONGEST = 1000;
  if (text.size() > LONGEST) refuse("it is longer than 1,000 bytes");
  const std::size_t scheme = text.find("://");
  const std::string_view kind = text.substr(0, scheme);
  if (scheme == std::string_view::npos || (kind != "postgresql" && kind != "postgres")) {
    refuse("it does not begin with postgresql://");
  }
  std::string_view rest = text.substr(scheme + 3);
  Address address;
  const std::size_t question = std::min(rest.find('?'), rest.size());
  std::string_view options = rest.substr(std::min(question + 1, rest.size()));
  rest = rest.substr(0, question);
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  address.hosts = checkedHosts(rest.substr(0, slash));
  if (slash + 1 < rest.size()) address.database = decoded(rest.substr(slash + 1));
  while (!options.empty()) {
    const std::size_t end = std::min(options.find('&'), options.size());
    readOption(options.substr(0, end), address);
    options = options.substr(std::min(end + 1, options.size()));
  }
  if (address.project.empty()) refuse("it names no project");
  const bool isWhole = !address.hosts.empty() && !address.database.empty();
  if (!isWhole && address.service.empty()) refuse("it names no host or no database, and no service that would");
  return address;
}

}  // namespace folder_host
