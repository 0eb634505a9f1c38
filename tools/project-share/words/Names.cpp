#include "words/Names.h"

namespace project_share {

std::string nameOf(const folder_host::Entry& entry) {
  return entry.path + (entry.kind == folder_host::EntryKind::folder ? "/" : "");
}

}  // namespace project_share
