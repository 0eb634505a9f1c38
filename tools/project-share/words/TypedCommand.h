#pragma once

#include <string>
#include <vector>

// Commands as they are typed into a shell.
namespace project_share {

// What the options of this run say about where it works; commands that it tells have the same. Set while
// the command line is parsed.
struct Invocation {
  std::string folder;       // that the user named to work in, absolute; empty: none
  bool trusting = false;    // of the project's owner, whoever that is
  bool isOffline = false;   // the project is to be read as it was seen last
  bool isOnServer = false;  // the project that was opened has its store there
  std::string typed;        // the words behind the program's name, as a shell takes them: the log has them
};
Invocation& invocation();

// "project-share label attach audience/internal 'a b'", for two words and more. Where one of them is shown in another
// way than it is typed, what to do instead: typed as it looks, it would name something else. The option stands behind
// the first two.
std::string commandOf(const std::vector<std::string>& words, const std::string& option = {});

// The word as a POSIX shell takes it.
std::string shellWord(const std::string& word);

// The words as a POSIX shell takes them, with blanks between.
std::string typedWords(const std::vector<std::string>& words);

// A path of the project as it is found from the working directory.
std::string fromHere(const std::string& root, const std::string& path);

// Whether a word is shown as it is typed.
bool isTyped(const std::string& word);

}  // namespace project_share
