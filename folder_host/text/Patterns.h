#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/text/Glob.h"

// Patterns of paths in the language of gitignore: "*.tmp", "/build/", "docs/**/draft-?.txt", "!docs/final.txt". Names
// and bytes count as they are; nothing is folded. A path is relative, '/' between its names, without one at its end.
namespace folder_host {

// Why the text is no pattern, or none that could match anything, in words that follow "is no pattern: "; null where it
// is one. In a file of patterns some of these would be a comment, an empty line or a pattern that silently never
// matches.
const char* patternFault(std::string_view text);

// Whether the pattern takes away what patterns before it gave: it begins with '!'.
inline bool isNegated(std::string_view pattern) { return !pattern.empty() && pattern.front() == '!'; }

// Patterns of several owners, made ready to be asked about many paths. A name, an ending ("*.tmp") and an anchored path
// without wildcards cost next to nothing, however many there are. Never changes; may be asked by several threads.
class PatternTable {
 public:
  struct Pattern {
    std::size_t owner;
    std::string text;  // for which patternFault gives null
  };

  // In their order: of the patterns of one owner that match a path, the last one decides.
  explicit PatternTable(const std::vector<Pattern>& patterns);

  // Sets `deciding` to the index of the deciding pattern of each owner that has one that matches the path itself: what
  // matches a folder above the path is not looked at. Sorted by owner.
  void match(std::string_view path, bool isFolder, std::vector<std::size_t>& deciding) const;

 private:
  // Of "//" and a path. Sorted by the text, which is its bytes from the last to the first.
  struct Ending {
    std::string text;
    std::size_t pattern;
    bool isFoldersOnly;
    std::size_t shorter;  // the index of the next one whose text this one begins with
  };
  struct NumberedGlob {
    Glob glob;
    std::size_t pattern;
  };

  void sortEndings();
  void addEndings(std::string_view path, bool isFolder, std::vector<std::size_t>& matching) const;
  void keepDeciding(std::vector<std::size_t>& matching) const;

  std::vector<std::size_t> owners_;  // of the patterns
  std::vector<Ending> endings_;
  std::vector<NumberedGlob> globs_;  // whatever is more than an ending
};

}  // namespace folder_host
