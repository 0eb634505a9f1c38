#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "folder_host/files/Identity.h"

// What stands in the lock file beside a staging folder (Publication.h), and how the two are called.
namespace folder_host {

std::string stagingNameOf(const std::string& uuid);
std::string lockNameOf(const std::string& stagingName);
// What a folder is called that was put aside to free its name.
std::string asideNameOf(const std::string& stagingName);

// The name of the folder that a file of this name is the lock of; empty where it can be none. What has not exactly this
// form was never made here, and is not even opened: it is a person's own.
std::string nameBehind(const std::string& lock);

// Its first line.
std::string lockTextOf(const std::string& stagingName);
// A further line: this folder may be removed by whoever finds it, under whatever name that belongs to the lock.
std::string ownLineOf(const FileId& folder);
// A further line: this folder, which looks as the digest says, is about to lose its name.
std::string earlierLineOf(const FileId& folder, const std::string& digest, const std::string& name);

// What such a text says. Of a process that was killed, the last line may be cut short: it says nothing.
struct LockText {
  bool isOurs = false;  // it begins as it has to, as far as it goes
  std::vector<std::string> own;
  std::string earlier;  // folder; empty where there is none
  std::string digest;
  std::string name;

  LockText(std::string_view text, const std::string& stagingName);
  bool owns(const FileId& folder) const;
  bool replaced(const FileId& folder) const;
};

}  // namespace folder_host
