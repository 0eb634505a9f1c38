#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the name of an entry tells of content that lies beside other content. Names count as they look on a disk on
// which case makes no difference (see FoldedName).
namespace folder_host {

// Whether earlier states of files are kept under this name: by a version control (.git, .hg, CVS, x,v), by an editor, a
// disk, or the bin for what was deleted; also in a backup or an archive of such a folder.
bool isHistory(std::string_view name);

// What a file or folder may be a leftover of, as its folded name.
struct Original {
  std::string name;
  bool isStem;  // the name lacks its ending: the leftover has another in its place
  bool isCopy;  // or an archive or a patch, that somebody made: a program leaves no such thing
};

// What editors, offices and file managers leave beside a file or a folder: backups (x~, x.bak, x.orig), swap, lock and
// undo files (.x.swp, .~lock.x#, .x.un~), copies ("x (copy)"), archives (x.zip). Empty where the name is none of these.
std::vector<Original> originalsOf(std::string_view name);

// A leftover whose name does not tell of what: parts of what lies in its folder may be in it (~$n.doc, .DS_Store).
bool isUnnamedLeftover(std::string_view name);

}  // namespace folder_host
