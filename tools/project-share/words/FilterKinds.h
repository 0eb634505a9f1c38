#pragma once

#include <string>
#include <vector>

namespace project_share {

// All that the program knows of a kind of filter, for whoever types it, reads of it, or asks what it does.
struct FilterKind {
  std::u16string text;  // as the library has it: profiles::EXCLUDE_FILES_WITH_LABEL
  std::string word;     // as people have it: "drop-files"
  std::string meaning;  // a sentence without its end
  bool isOfFiles;       // about files, folders and links; else about labels
  bool drops;           // holds back or removes what it lists; else all but that
};

// In the order in which help lists them.
const std::vector<FilterKind>& filterKinds();

// By its word, which is one of filterKinds().
const FilterKind& kindNamed(const std::string& word);

// The text of that kind; of a word that is no kind, the word itself, which a newer version may have stored.
std::u16string textOfKind(const std::string& word);

// By its text. One that only a newer version knows has its own text, in quotes, for a word, and counts as one of
// labels.
FilterKind kindOf(const std::u16string& text);
bool isKnownKind(const std::u16string& text);

inline std::string wordOf(const std::u16string& kind) { return kindOf(kind).word; }
inline bool isFileKind(const std::u16string& kind) { return kindOf(kind).isOfFiles; }
// Whether filters of the kind hold back the files that they list, or all but those.
inline bool dropsFiles(const std::u16string& kind) { return isFileKind(kind) && kindOf(kind).drops; }
inline bool keepsFiles(const std::u16string& kind) { return isFileKind(kind) && !kindOf(kind).drops; }
// Whether filters of the kind remove the labels that they list.
inline bool dropsLabels(const std::u16string& kind) { return !isFileKind(kind) && kindOf(kind).drops; }

}  // namespace project_share
