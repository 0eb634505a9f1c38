#include <fmt/format.h>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/share/read/CopyContent.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "receipt/CopyComparison.h"
#include "receipt/ReceiptReader.h"
#include "words/Names.h"

namespace project_share {

void verifyCopy(const std::string& named, const std::string& file) {
  ReceiptReader receipt(file);
  const auto copy = folder_host::openCopy(named);
  const bool hasContent = receipt.head().hasContent;
  std::vector<CopyDifference> differences;
  {
    ProgressLine checked("checked");
    differences = differencesOf(*copy, receipt, CompareBy::content,
                                [&](const folder_host::Progress& progress) { checked.show(progress); });
  }
  for (const auto& [how, path] : differences) {
    Json object{{"type", how}};
    putPath(object, "path", path);
    item(fmt::format("{:7}  {}", how, freeName(path)), object);
  }
  if (!differences.empty()) {
    throw Refusal(
        refusals::COPY_DIFFERS,
        fmt::format("{} from what was handed out, listed on standard output; share again where that is not meant",
                    counted(differences.size(), "difference", "differences")));
  }
  done(fmt::format("{} is what was handed out at {}, by names, links and {}.", inQuotes(named), receipt.head().time,
                   hasContent ? "content" : "sizes, times and modes; no content was compared"),
       {{"type", "verified"}, {"time", receipt.head().time}, {"content", hasContent}});
}

}  // namespace project_share
