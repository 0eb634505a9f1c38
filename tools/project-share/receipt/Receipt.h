#pragma once

#include <functional>
#include <set>
#include <string>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Place.h"
#include "folder_host/files/Publication.h"
#include "folder_host/share/HandOut.h"
#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"

namespace project_share {

// What was handed out, what was held back, and why: a JSON file for the sender, for nobody else's eyes. It is put
// together beside its place and gets its name when the copy is there; until then it is removed when this object ends.
class Receipt {
 public:
  // Of a share of the project to the place `copy`. Errors: RECEIPT_EXISTS; RECEIPT_MISPLACED (in the project, where the
  // next share would hand it out, or in the place of the copy or below it); RECEIPT_FAILED.
  Receipt(const folder_host::WorkingCopy& project, const folder_host::Place& copy, std::string file);
  Receipt(const Receipt&) = delete;
  Receipt& operator=(const Receipt&) = delete;

  // Whether that could be made, as far as that is known without making it. Errors: as above.
  static void check(const folder_host::WorkingCopy& project, const folder_host::Place& copy, const std::string& file);

  // Writes all of it, once, from the folder that holds the copy, which has no name yet; durable when it returns. What
  // onProgress throws stops it. Errors: RECEIPT_FAILED; what cannot be read passes as std::system_error.
  void write(const Judgement& judgement, const std::set<std::string>& allowed, const folder_host::Descriptor& copy,
             const std::function<void(const folder_host::Progress&)>& onProgress);

  // To be called when the copy is there. Error: RECEIPT_FAILED, also where the name was taken meanwhile.
  void publish();

 private:
  void put(const std::string& text);
  void flush();

  std::string file_;
  std::string destination_;
  folder_host::Place place_;
  folder_host::Publication staging_;
  folder_host::Descriptor descriptor_;
  std::string buffer_;
};

}  // namespace project_share
