#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "folder_host/files/Place.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/WorkingCopy.h"

namespace project_share {

// The file of a page. It tells what is held back: nobody else may read it at any time, and the project, whose next
// share would hand it out, is no place for it. It gets its name when it is whole, and replaces nothing. Errors of all
// of it: PAGE_FAILED.
class PageFile {
 public:
  // Errors: PAGE_EXISTS, PAGE_MISPLACED.
  PageFile(const folder_host::WorkingCopy& project, std::string file);

  void put(std::string_view text);
  // To be called once, at the end. Error: PAGE_EXISTS where the name was taken meanwhile.
  void publish();

 private:
  struct Staged;

  std::string file_;
  folder_host::Place place_;
  std::string buffer_;
  std::shared_ptr<Staged> staged_;
};

}  // namespace project_share
