#include "settings/TrustedStores.h"

#include <algorithm>
#include <string>
#include <vector>

#include "settings/SettingsFile.h"

namespace project_share {

using folder_host::Address;

namespace {

constexpr SettingsFile FILE_OF_STORES{"stores.json", "stores", ""};

using Texts = std::vector<std::string>;

Texts stored() {
  Texts texts;
  readSettings(FILE_OF_STORES, [&](const nlohmann::json& text) { texts.push_back(text.get<std::string>()); });
  return texts;
}

bool has(const Texts& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// Whether that changed anything.
bool put(const std::string& text, bool isTrusted) {
  bool isNew = false;
  changeSettings(FILE_OF_STORES, [&] {
    Texts texts = stored();
    isNew = has(texts, text) != isTrusted;
    if (isNew && isTrusted) texts.push_back(text);
    if (!isTrusted) texts.erase(std::remove(texts.begin(), texts.end(), text), texts.end());
    return Json(texts);
  });
  return isNew;
}

}  // namespace

bool isTrustedStore(const Address& address) { return has(stored(), address.text()); }

bool trustStore(const Address& address) { return put(address.text(), true); }

bool forgetStore(const Address& address) { return put(address.text(), false); }

}  // namespace project_share
