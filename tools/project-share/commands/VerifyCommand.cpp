#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/share/read/ArchiveContent.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "output/Report.h"
#include "receipt/CopyComparison.h"
#include "receipt/FoundReceipt.h"
#include "receipt/ReceiptReader.h"
#include "settings/OpenProject.h"
#include "words/Names.h"

namespace project_share {

namespace {

// By the project that holds the working directory: whoever shared has it.
ReceiptReader keptReceiptOf(const std::string& named, folder_host::CopyContent& copy) {
  const folder_host::FolderProject project = openProject();
  std::vector<Risk> notes;
  auto found = receiptOf(project, named, copy, notes);
  if (!manner().quiet) printNotes(notes);
  if (found) return std::move(found->receipt);
  throw Refusal(
      refusals::RECEIPT_NOT_FOUND,
      fmt::format(
          "the project {} keeps no receipt that can be read of what was shared to {} or holds the same; name one with "
          "--receipt FILE, or name the project that shared it: project-share -C PROJECT verify COPY",
          inQuotes(project.root()), inQuotes(named)));
}

// As long as it is not known what it should hold: more than most archives expand to.
std::uint64_t roomFor(const std::string& named) {
  constexpr std::uint64_t TIMES = 1100, ANYHOW = std::uint64_t{1} << 30U;
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(named, error);
  return error ? ANYHOW : std::max(ANYHOW, TIMES * size);
}

// What an archive of it expands to at most, and as much again for what may have come in: a bomb does not go on for
// ever.
std::uint64_t roomFor(ReceiptReader& receipt) {
  constexpr std::uint64_t HEADS = std::uint64_t{1} << 13U, ANYHOW = std::uint64_t{1} << 24U;
  std::uint64_t room = ANYHOW;
  receipt.forEachShared([&](const ReceiptEntry& entry) { room += 2 * (entry.size + entry.path.size() + HEADS); });
  return room;
}

}  // namespace

void verifyCopy(const std::string& named, const std::string& file) {
  // All of a receipt is judged before the first comparison: nothing is told by what turns out to be none.
  std::optional<ReceiptReader> given;
  if (!file.empty()) given.emplace(file);
  ReceiptReader receipt =
      given ? *std::move(given) : keptReceiptOf(named, *folder_host::openCopy(named, roomFor(named)));
  const auto copy = folder_host::openCopy(named, roomFor(receipt));
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
