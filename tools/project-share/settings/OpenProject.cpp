#include "settings/OpenProject.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <string_view>
#include <utility>

#include "Refusal.h"
#include "output/EditReport.h"
#include "output/Output.h"
#include "server_store/PostgresServers.h"
#include "settings/SettingsFile.h"
#include "settings/TrustedProjects.h"
#include "settings/TrustedStores.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Address;
using folder_host::FolderProject;
using folder_host::ServerAccess;
namespace errors = folder_host::errors;

namespace {

// The settings are read only where a project is somebody else's: who uses their own never needs any.
bool isTrusted(const std::string& root, uid_t owner) {
  if (invocation().trusting) return true;
  const TrustedProjects trusted = trustedProjects();
  return std::find(trusted.begin(), trusted.end(), TrustedProject{root, owner}) != trusted.end();
}

bool is(const Refusal& error, std::string_view identifier) { return error.identifier() == identifier; }

void requireKnown(const Address& address) {
  if (isTrustedStore(address)) return;
  throw Refusal(
      refusals::ADDRESS_UNKNOWN,
      fmt::format("the project names {} as the place of its store, and you have not said on this machine that "
                  "it may be asked; if you know it: {}",
                  inQuotes(address.text()), commandOf({"store", "trust", address.text()})));
}

ServerAccess accessTo(std::function<void(const Address&)> require) {
  ServerAccess access;
  access.servers = std::make_shared<server_store::PostgresServers>();
  const std::string cache = ownFolder("XDG_CACHE_HOME", ".cache");
  access.mirrors = cache.empty() ? cache : cache + "/mirrors";
  access.require = std::move(require);
  return access;
}

// Who types an address says that it may be asked; where nothing comes of it, that is forgotten again.
template <class Act>
auto atTyped(const Address& address, const Act& act) {
  const bool isNew = trustStore(address);
  try {
    return act(accessTo(requireKnown));
  } catch (...) {
    if (isNew) forgetStore(address);
    throw;
  }
}

// What may be done about a refusal to open or make a project.
template <class Open>
auto orHowTo(const std::string& folder, const Open& open) {
  try {
    return open();
  } catch (const Refusal& error) {
    if (!is(error, errors::STORE_UNTRUSTED)) throw;
    throw Refusal(error.identifier(), std::string(error.what()) +
                                          ", by --trust this once, from now on by: " + commandOf({"trust", folder}));
  }
}

void setWords(const FolderProject& project) {
  folder_host::Author author = project.author();
  author.words = invocation().typed;
  project.setAuthor(std::move(author));
}

FolderProject opened(bool isOffline) {
  try {
    ServerAccess access = accessTo(requireKnown);
    access.isOffline = isOffline;
    FolderProject project = orHowTo(".", [&] { return FolderProject::open(".", isTrusted, access); });
    project.askOnce();
    setWords(project);
    invocation().isOnServer = project.address().has_value();
    return project;
  } catch (const Refusal& error) {
    if (!is(error, errors::NOT_A_PROJECT)) throw;
    throw Refusal(error.identifier(), fmt::format("{}; to make it one: {}", error.what(), commandOf({"init"})));
  }
}

std::string agoText(std::int64_t seconds) {
  constexpr std::int64_t MINUTE = 60, HOUR = 60 * MINUTE, DAY = 24 * HOUR;
  const auto ago = [&](std::int64_t unit, const char* one, const char* many) {
    return counted(static_cast<std::size_t>(seconds / unit), one, many) + " ago";
  };
  if (seconds >= 2 * DAY) return ago(DAY, "day", "days");
  if (seconds >= HOUR) return ago(HOUR, "hour", "hours");
  return seconds >= MINUTE ? ago(MINUTE, "minute", "minutes") : "less than a minute ago";
}

void tellWhenSeen(const FolderProject& project) {
  const auto seen = project.seen();
  if (!seen) return;
  const std::string time = timeText(*seen * 1000);
  item(fmt::format("As of {}, {}; the server was not asked.", time, agoText(std::time(nullptr) - *seen)),
       {{"type", "offline"}, {"time", time}});
}

}  // namespace

FolderProject openProject() {
  FolderProject project = opened(invocation().isOffline);
  if (invocation().isOffline) tellWhenSeen(project);
  return project;
}

FolderProject openAsSeen() { return opened(true); }

FolderProject makeProject(const std::string& folder, const std::optional<Address>& store) {
  if (!store) return orHowTo(folder, [&] { return FolderProject::init(folder, isTrusted); });
  folder_host::Author author = folder_host::thisUser();
  author.words = invocation().typed;
  try {
    return atTyped(*store, [&](const ServerAccess& access) {
      return orHowTo(folder, [&] { return FolderProject::initAt(folder, isTrusted, *store, access, author); });
    });
  } catch (const Refusal& error) {
    if (!is(error, errors::STORE_NAME_TAKEN)) throw;
    throw Refusal(error.identifier(), fmt::format("{}; to make this folder another one of that project: {}",
                                                  error.what(), commandOf({"join", store->text(), folder})));
  }
}

FolderProject joinProject(const std::string& folder, const Address& store) {
  try {
    return atTyped(store, [&](const ServerAccess& access) {
      return orHowTo(folder, [&] { return FolderProject::join(folder, isTrusted, store, access); });
    });
  } catch (const Refusal& error) {
    if (!is(error, errors::STORE_NOT_FOUND)) throw;
    throw Refusal(error.identifier(), fmt::format("{}; to make it: {} --store {}", error.what(),
                                                  commandOf({"init", folder}), shellWord(store.text())));
  }
}

void moveStore(const FolderProject& project, const Address& to) {
  atTyped(to, [&](const ServerAccess& access) { project.moveTo(to, access); });
}

std::string withAdvice(const Refusal& refusal) {
  std::string text = refusal.what();
  if (const auto* unknown = dynamic_cast<const folder_host::OutcomeUnknown*>(&refusal); unknown != nullptr) {
    return fmt::format("{}; to learn whether it is kept: {}", text, commandOf({"store", "check", unknown->editId()}));
  }
  if (!invocation().isOnServer || invocation().isOffline) return text;
  if (is(refusal, errors::STORE_UNREACHABLE)) {
    return text + "; status, preview and label list show with --offline what was seen last";
  }
  if (is(refusal, errors::STORE_WENT_BACK)) {
    return fmt::format("{}; to see what is lost: {}", text, commandOf({"store", "accept"}));
  }
  return text;
}

}  // namespace project_share
