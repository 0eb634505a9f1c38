#pragma once

#include <string>
#include <string_view>

#include "folder_host/share/WorkingCopy.h"
#include "output/PrivateFile.h"

namespace project_share {

// The file of a page, which tells what is held back: the project, whose next share would hand it out, is no place for
// it. It gets its name when it is whole, and replaces nothing. Errors of all of it: PAGE_FAILED.
class PageFile {
 public:
  // Errors: PAGE_EXISTS, PAGE_MISPLACED.
  PageFile(const folder_host::WorkingCopy& project, std::string file);

  void put(std::string_view text);
  // To be called once, at the end. Error: PAGE_EXISTS where the name was taken meanwhile.
  void publish();

 private:
  std::string name_;
  PrivateFile file_;
};

}  // namespace project_share
