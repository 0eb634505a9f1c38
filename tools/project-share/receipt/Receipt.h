#pragma once

#include <string>
#include <string_view>

#include "folder_host/files/Place.h"
#include "folder_host/share/WorkingCopy.h"
#include "output/PrivateFile.h"

namespace project_share {

// What was handed out, what was held back, and why: a JSON file for the sender. It gets its name when the copy is
// there.
class Receipt {
 public:
  // Of a share of the project to the place `copy`; none: to standard output. Errors: RECEIPT_EXISTS; RECEIPT_MISPLACED
  // (in the project, where the next share would hand it out, or in the place of the copy or below it); RECEIPT_FAILED.
  Receipt(const folder_host::WorkingCopy& project, const folder_host::Place* copy, std::string file);

  // Whether that could be made, as far as that is known without making it. Errors: as above.
  static void check(const folder_host::WorkingCopy& project, const folder_host::Place* copy, const std::string& file);

  // The text, part by part; all of it is durable when finish() returns. Error: RECEIPT_FAILED.
  void put(std::string_view text);
  void finish();

  // To be called when the copy is there. Error: RECEIPT_FAILED, also where the name was taken meanwhile.
  void publish();

 private:
  std::string name_;
  PrivateFile file_;
};

}  // namespace project_share
