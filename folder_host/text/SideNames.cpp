#include "folder_host/text/SideNames.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "folder_host/text/FoldedName.h"

// Programs name what they leave beside a file after the file, each in its own way. The tables below are those ways;
// what is not in them is not found by its name, but may still be by its content (Twins).
namespace folder_host {

namespace {

using Names = std::vector<std::string>;

bool startsWith(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && (start.empty() || text.front() == start.front()) &&
         text.substr(0, start.size()) == start;
}

// Asked of each name for each mark of the tables, so mostly the last character has to tell.
bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && (end.empty() || text.back() == end.back()) &&
         text.substr(text.size() - end.size()) == end;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return c >= 'a' && c <= 'z'; }

bool areDigits(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isDigit); }

// All tables are in lower case, as names are folded before they are looked up.
constexpr std::array<std::string_view, 30> HISTORIES = {
    ".git",           ".hg",         ".svn",         "_svn",     ".jj",       ".bzr",       "cvs",
    "_darcs",         ".pijul",      ".sl",          "rcs",      "sccs",      ".fslckout",  "_fossil_",
    ".fos",           ".stversions", ".history",     ".lh",      ".snapshot", ".snapshots", ".zfs",
    ".trash",         ".trashes",    "$recycle.bin", ".recycle", "#recycle",  "#snapshot",  ".dropbox.cache",
    ".local-history", ".vshistory"};

struct Around {
  std::string_view before;
  std::string_view after;
};

constexpr std::array<Around, 13> AROUND = {{{"#", "#"},
                                            {".#", ""},
                                            {"._", ""},
                                            {".~lock.", "#"},
                                            {"~$", ""},
                                            {"~", ""},
                                            {".~", ""},
                                            {"%", "%"},
                                            {"copy of ", ""},
                                            {"kopie von ", ""},
                                            {"copie de ", ""},
                                            {"copia de ", ""},
                                            {"backup of ", ""}}};

// These may also stand in the place of the original's ending.
constexpr std::array<std::string_view, 18> BACKUPS = {".bak",  ".back", ".backup",   ".bkp",  ".bck",  ".bk",
                                                      ".old",  ".orig", ".original", ".save", ".sav",  ".tmp",
                                                      ".temp", ".wbk",  ".asd",      ".sv$",  ".prev", ".autosave"};
constexpr std::array<std::string_view, 16> ARCHIVES = {".zip", ".tar",  ".tgz", ".tbz2", ".txz", ".tzst",
                                                       ".gz",  ".bz2",  ".xz",  ".zst",  ".7z",  ".rar",
                                                       ".lz4", ".lzma", ".jar", ".copy"};

constexpr std::array<std::string_view, 35> ENDINGS = {
    "~",         ".rej",       ".un~",      ".kate-swp",    ".part",        ".crdownload",  ".mine",     ".working",
    ".dpkg-old", ".dpkg-dist", ".dpkg-bak", ".dpkg-new",    ".rpmsave",     ".rpmorig",     ".rpmnew",   ".pacsave",
    ".pacnew",   ".ucf-old",   ".ucf-dist", "___jb_tmp___", "___jb_old___", "___jb_bak___", "-bak",      "_bak",
    "-backup",   "_backup",    "-old",      "_old",         "-orig",        "_orig",        "-autosave", "~head",
    "~ours",     "~theirs",    "~merged"};

constexpr std::array<std::string_view, 2> PATCHES = {".patch", ".diff"};

// What a merge leaves, before the ending or behind it, is followed by numbers.
constexpr std::array<std::string_view, 7> MERGES = {"_local_",       "_remote_",       "_base_", "_backup_",
                                                    ".merge-left.r", ".merge-right.r", ".r"};

// Stands between the name and its ending: "plan (copy).txt", "plan - Copy.txt", "plan (1).txt", "plan-autosave.kra".
std::string_view withoutCopyMark(std::string_view stem) {
  const std::size_t bracket = stem.rfind(" (");
  if (bracket != std::string_view::npos && endsWith(stem, ")")) {
    const std::string_view inside = stem.substr(bracket + 2, stem.size() - bracket - 3);
    const auto tells = [&](std::string_view word) { return inside.find(word) != std::string_view::npos; };
    if (areDigits(inside) || tells("cop") || tells("kopie") || tells("conflict")) return stem.substr(0, bracket);
  }
  const std::size_t conflict = stem.find(".sync-conflict-");
  if (conflict != std::string_view::npos) return stem.substr(0, conflict);
  std::string_view unnumbered = stem;
  while (!unnumbered.empty() && isDigit(unnumbered.back())) unnumbered.remove_suffix(1);
  if (endsWith(unnumbered, "copy ")) stem = unnumbered.substr(0, unnumbered.size() - 1);
  for (const std::string_view mark :
       {" - copy", " - kopie", " - copie", " - copia", " copy", "-copy", "_copy", "-autosave", "-backup", "_backup",
        " backup", "-bak", "_bak", "-old", "_old", "-orig", "_orig"}) {
    if (endsWith(stem, mark)) return stem.substr(0, stem.size() - mark.size());
  }
  return {};
}

// The endings that have a number, or letters made up, in them.
std::string_view withoutNumberedEnding(std::string_view name) {
  if (name.size() > 4 && startsWith(name.substr(name.size() - 4), ".sw") && isLetter(name.back())) {
    return name.substr(0, name.size() - 4);  // .swp, .swo ...
  }
  const std::size_t version = name.rfind(".~");
  if (version != std::string_view::npos && endsWith(name, "~") && name.size() > version + 3 &&
      areDigits(name.substr(version + 2, name.size() - version - 3))) {
    return name.substr(0, version);  // .~1~
  }
  const std::size_t saving = name.rfind(".sb-");
  if (saving != std::string_view::npos) return name.substr(0, saving);
  std::string_view unnumbered = name;
  while (!unnumbered.empty() && isDigit(unnumbered.back())) unnumbered.remove_suffix(1);
  if (unnumbered.size() == name.size()) return {};
  if (endsWith(unnumbered, ".blend")) return unnumbered;
  if (endsWith(unnumbered, ".")) unnumbered.remove_suffix(1);
  const bool isBackup =
      std::any_of(BACKUPS.begin(), BACKUPS.end(), [&](auto end) { return endsWith(unnumbered, end); });
  return isBackup ? unnumbered : std::string_view();  // .bak2, .old.1
}

// Before numbers at the end.
std::string_view withoutMerge(std::string_view name) {
  std::string_view unnumbered = name;
  while (!unnumbered.empty() && isDigit(unnumbered.back())) unnumbered.remove_suffix(1);
  if (unnumbered.size() == name.size()) return {};
  for (const std::string_view mark : MERGES) {
    if (endsWith(unnumbered, mark)) return unnumbered.substr(0, unnumbered.size() - mark.size());
  }
  return {};
}

using Characters = std::array<bool, 256>;

template <class Endings>
constexpr Characters lastOf(const Endings& endings) {
  Characters last{};
  for (const std::string_view ending : endings) last[static_cast<unsigned char>(ending.back())] = true;
  return last;
}

constexpr Characters BACKUPS_LAST = lastOf(BACKUPS), ARCHIVES_LAST = lastOf(ARCHIVES), ENDINGS_LAST = lastOf(ENDINGS),
                     PATCHES_LAST = lastOf(PATCHES);

// Whatever the name is with one mark of a leftover less.
void peel(const Original& whole, std::vector<Original>& found) {
  const std::string_view text = whole.name;
  const auto add = [&](std::string_view original, bool isCopy, bool isStem = false) {
    if (!original.empty()) found.push_back({std::string(original), isStem, isCopy || whole.isCopy});
  };
  // With or without the dot that hides it.
  const auto addEnded = [&](std::string_view original, bool isCopy, bool isStem = false) {
    add(original, isCopy, isStem);
    if (startsWith(original, ".")) add(original.substr(1), isCopy, isStem);
  };
  const auto addWithout = [&](const auto& endings, const Characters& last, bool isCopy, bool andStem) {
    if (text.empty() || !last[static_cast<unsigned char>(text.back())]) return;
    for (const std::string_view ending : endings) {
      if (!endsWith(text, ending)) continue;
      addEnded(text.substr(0, text.size() - ending.size()), isCopy);
      if (andStem) addEnded(text.substr(0, text.size() - ending.size()), isCopy, true);
    }
  };
  for (const Around& around : AROUND) {
    if (!startsWith(text, around.before) || !endsWith(text, around.after)) continue;
    if (text.size() <= around.before.size() + around.after.size()) continue;
    add(text.substr(around.before.size(), text.size() - around.before.size() - around.after.size()),
        endsWith(around.before, " "));
  }
  addWithout(BACKUPS, BACKUPS_LAST, false, true);
  addWithout(ARCHIVES, ARCHIVES_LAST, true, true);
  addWithout(ENDINGS, ENDINGS_LAST, false, false);
  addWithout(PATCHES, PATCHES_LAST, true, false);
  addEnded(withoutNumberedEnding(text), false);
  addEnded(withoutMerge(text), false);
  const std::size_t dot = text.rfind('.');
  const std::string_view stem = text.substr(0, dot);
  const std::string_view ending = dot == std::string_view::npos ? std::string_view() : text.substr(dot);
  for (const std::string_view original : {withoutCopyMark(stem), withoutMerge(stem)}) {
    if (!original.empty()) addEnded(std::string(original) + std::string(ending), true);
  }
  if (!ending.empty()) addEnded(withoutCopyMark(text), true);
}

}  // namespace

// A backup or an archive of a history holds all that the history holds.
bool isHistory(std::string_view name) {
  const auto isKnown = [](const std::string& folded) {
    return std::find(HISTORIES.begin(), HISTORIES.end(), folded) != HISTORIES.end() || endsWith(folded, ",v") ||
           endsWith(folded, ".fossil") || startsWith(folded, ".trash-");
  };
  if (isKnown(foldedName(name))) return true;
  const std::vector<Original> originals = originalsOf(name);
  return std::any_of(originals.begin(), originals.end(),
                     [&](const Original& original) { return !original.isStem && isKnown(original.name); });
}

// A leftover may have leftovers of its own: x.bak~. A name can be made of marks alone, each of which comes off in
// several ways, so the search has an end.
std::vector<Original> originalsOf(std::string_view name) {
  constexpr std::size_t ENOUGH = 64;
  std::vector<Original> found;
  peel({foldedName(name), false, false}, found);
  for (std::size_t next = 0; next < found.size() && found.size() < ENOUGH; ++next) {
    if (!found[next].isStem) peel(Original(found[next]), found);
  }
  return found;
}

// These tell that a program wrote them, and not beside which file. So they count where any file is held back beside
// them.
bool isUnnamedLeftover(std::string_view name) {
  const std::string folded = foldedName(name);
  const auto begins = [&](std::string_view start) { return startsWith(folded, start); };
  const bool isTemporary = endsWith(folded, ".tmp") && (begins("~") || begins("lu") || begins(".~"));
  return isTemporary || begins("~$") || begins(".goutputstream-") || begins(".fuse_hidden") || begins(".nfs0") ||
         folded == "4913" || folded == ".ds_store" || folded == "thumbs.db" || folded == "ehthumbs.db";
}

}  // namespace folder_host
