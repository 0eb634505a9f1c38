#pragma once

#include <functional>
#include <set>
#include <string>

#include "Assessment.h"
#include "folder_host/Descriptor.h"
#include "folder_host/FolderProject.h"
#include "folder_host/Sharing.h"

namespace project_share {

// What went out, what did not, and why: a JSON file for the sender, for nobody else's eyes. It is put together under
// another name beside its own and gets that when the copy is there; until then it goes when this object goes.
class Receipt {
 public:
  // Errors: RECEIPT_EXISTS; RECEIPT_MISPLACED (in the project, where the next share would hand it out, or in the place
  // of the copy); RECEIPT_FAILED.
  Receipt(const folder_host::FolderProject& project, const std::string& destination, std::string file);
  ~Receipt();
  Receipt(const Receipt&) = delete;
  Receipt& operator=(const Receipt&) = delete;

  // Writes all of it, from the folder that holds the copy. Errors: RECEIPT_FAILED.
  void write(const Assessment& assessment, const std::set<std::string>& allowed, const folder_host::WorkingCopy& left,
             const folder_host::Descriptor& copy, const std::function<void(const folder_host::Progress&)>& onProgress);

  // To be called when the copy is there. Error: RECEIPT_FAILED, also where the name was taken meanwhile.
  void publish();

 private:
  void put(const std::string& text);
  void flush();

  std::string file_;
  std::string destination_;
  std::string partial_;  // the name until then
  folder_host::Descriptor descriptor_;
  std::string buffer_;
};

}  // namespace project_share
