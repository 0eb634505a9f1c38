#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "folder_host/share/Risks.h"
#include "folder_host/store/LabelStore.h"

// What speaks against a share, in parts: the sentence for people and the object for programs are made of the same ones.
namespace project_share {

// What is typed into a shell. Where it cannot be typed as it looks, what to do instead, in words.
struct Command {
  std::string text;
  bool isTyped = true;

  // Both, one after the other.
  void append(const Command& next);
};

// Of words as commandOf takes them.
Command typedCommand(const std::vector<std::string>& words);

// What can be done about a risk.
struct Mend {
  const char* purpose;   // "hold it back": one of few, so that a program can choose by it
  Command command = {};  // empty where nothing is typed for it
};

struct Risk {
  const char* identifier;                    // stable, for programs
  std::string path;                          // of the entry that it is about; empty where it is about none
  std::string what;                          // one line for people, without what mends it
  std::vector<std::string> otherPaths = {};  // of entries that it is about as well
  std::vector<Mend> mends = {};
  std::vector<folder_host::LabelRecord> labels = {};  // that are concerned; of one that was deleted, the UUID alone
  std::size_t filter = 0;                             // that is concerned, from 1; 0 where none is
  std::string filterKind = {};                        // its word
};

Risk riskOf(folder_host::Risk risk);

// "'a' has the content of 'b', which is held back; hold it back: project-share label attach ..."
std::string messageOf(const Risk& risk);

}  // namespace project_share
