#include "receipt/ShareReceipts.h"

#include <fmt/format.h>

#include <system_error>

#include "words/Names.h"

namespace project_share {

template <class Act>
void ShareReceipts::keeping(const Act& act) {
  try {
    act();
  } catch (const std::system_error& error) {
    kept_.reset();
    notes_.push_back({risks::RECEIPT_UNKEPT.identifier,
                      {},
                      "the project keeps no receipt of this share: " + error.code().message()});
  }
}

void ShareReceipts::write(const ReceiptHead& head, const ReceiptSource& source) {
  if (keeps_) keeping([&] { kept_.emplace(project_, head); });
  writeReceipt(head, source, [&](std::string_view text) {
    if (file_) file_->put(text);
    if (kept_) keeping([&] { kept_->put(text); });
  });
  if (kept_) keeping([&] { kept_->finish(); });
  if (file_) file_->finish();
}

// The copy first: a receipt without its copy would tell of what nobody has got. It is written whole by then, so that
// only its name can still fail.
void ShareReceipts::complete(const ReceiptHead& of) {
  if (kept_) keeping([&] { kept_->complete(); });
  if (kept_ || most_ == 0) forgetOlder(project_, of, most_);
  if (file_) file_->publish();
}

bool canBeKept(const folder_host::FolderProject& project, Findings& found) {
  try {
    checkKeeping(project);
    return true;
  } catch (const std::system_error& error) {
    found.add(risks::RECEIPT_UNKEPT, {},
              fmt::format("the project will keep no receipt of this share, because {} cannot be written to: {}",
                          inQuotes(project.root() + "/" + folder_host::STORE_FOLDER), error.code().message()));
    return false;
  }
}

}  // namespace project_share
