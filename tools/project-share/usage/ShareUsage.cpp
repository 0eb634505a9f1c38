#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "folder_host/share/Shape.h"
#include "judgement/Judgement.h"
#include "output/Output.h"
#include "usage/Usage.h"
#include "usage/Words.h"

namespace project_share {

namespace {

// RISK[,RISK...], or RISK=PATH with a path that may hold anything.
// A path may hold a comma and an equals sign, so a word with a path names one risk alone.
std::vector<Allowed> allowedBy(const std::vector<std::string>& words) {
  std::vector<Allowed> allowed;
  for (const std::string& word : words) {
    const std::size_t path = word.find('=');
    if (path + 1 == word.size()) throw CLI::ParseError("--allow RISK=PATH needs a path", WRONG_USAGE);
    if (path != std::string::npos) {
      allowed.push_back({word.substr(0, path), word.substr(path + 1)});
      std::string& named = *allowed.back().path;
      // A preview shows folders with a slash behind them, and a risk has their paths without.
      while (named.size() > 1 && named.back() == '/') named.pop_back();
    } else {
      for (std::string identifier : CLI::detail::split(word, ','))
        allowed.push_back({CLI::detail::trim(identifier), {}});
    }
  }
  const std::vector<std::string>& all = allowableRisks();
  for (const Allowed& one : allowed) {
    if (std::find(all.begin(), all.end(), one.identifier) != all.end()) continue;
    throw CLI::ParseError(fmt::format("--allow takes {}", fmt::join(all, ", ")), WRONG_USAGE);
  }
  return allowed;
}

GateWords gateWordsOf(const Words& words) {
  for (const std::string& word : words.forbidden) {
    if (word != "unlabelled") throw CLI::ParseError("--forbid takes unlabelled", WRONG_USAGE);
  }
  return {allowedBy(words.allowed), words.strict, !words.forbidden.empty(), words.from, words.approved};
}

// A single word could be either, so they are counted here: with a profile there are two, without one there is DEST
// alone. A dry run can do without DEST, but not where that is given and is empty, such as of a variable that is not
// set.
ShareWords shareWordsOf(const Words& words) {
  const std::size_t profiles = words.whole ? 0 : 1;
  const bool hasDestination = words.shared.size() == profiles + 1;
  if (!hasDestination && !(words.dryRun && words.receipt.empty() && words.shared.size() == profiles)) {
    throw CLI::ParseError("share takes PROFILE and DEST, or --whole and DEST", WRONG_USAGE);
  }
  ShareWords share;
  if (!words.whole) share.profile = words.shared.front();
  if (hasDestination) share.destination = words.shared.back();
  if (hasDestination) requireName("DEST", share.destination);
  if (share.destination == "-" && manner().json) {
    throw CLI::ParseError("a copy on standard output goes without --json", WRONG_USAGE);
  }
  share.isPlain = words.plain;
  share.gate = gateWordsOf(words);
  share.receipt = words.receipt;
  share.checksum = words.checksum;
  share.updates = words.updates;
  share.replaces = words.replaces;
  if (words.replaces && !words.updates) throw CLI::ParseError("--replace goes with --update", WRONG_USAGE);
  const bool isFolder =
      share.destination != "-" && folder_host::shapeOf(share.destination) == folder_host::Shape::folder;
  if (words.updates && !(hasDestination && isFolder)) {
    throw CLI::ParseError("--update goes with a folder, and with nothing else; name it as DEST", WRONG_USAGE);
  }
  share.keptReceipts = words.keptReceipts;
  return share;
}

// From the table of all risks, so that the help has each of them.
std::string riskList() {
  std::string list = "\n\nRisks that --allow takes:";
  for (const RiskKind* kind : risks::ALL) {
    if (kind->level == Level::risk) list += fmt::format("\n  {:23}{}", kind->identifier, kind->meaning);
  }
  return list;
}

void addFrom(CLI::App* command, Words& words) {
  command
      ->add_option_function<std::string>(
          "--from", [&words](const std::string& marked) { words.from = unmarked(marked); },
          "Hand out what lies in this folder of the project alone, as the whole copy")
      ->type_name("FOLDER");
}

void addAllow(CLI::App* command, Words& words) {
  command
      ->add_option("--allow", words.allowed,
                   "Share in spite of all such risks, or of the one that is about PATH; can be repeated")
      // One word each: else the option would take PROFILE and DEST, too, where they stand behind it.
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("RISK[,RISK...]|RISK=PATH");
  command->footer(command->get_footer() + riskList());
}

// In groups or not, and in capitals or not: it may have been read out.
std::string digitsOf(const std::string& word) {
  constexpr std::size_t LEAST = 32, MOST = 64;  // 128 bits, 256 bits
  std::string digits;
  for (const char c : word) {
    if (c != '-') digits += c;
  }
  digits = lowered(std::move(digits));
  const bool isDigest = digits.size() >= LEAST && digits.size() <= MOST &&
                        digits.find_first_not_of("0123456789abcdef") == std::string::npos;
  if (isDigest) return digits;
  throw CLI::ParseError("--approved takes the digest at the end of a page, or its first 32 digits at least",
                        WRONG_USAGE);
}

void addGateOptions(CLI::App* command, Words& words) {
  addAllow(command, words);
  command
      ->add_option_function<std::string>(
          "--approved", [&words](const std::string& marked) { words.approved = digitsOf(unmarked(marked)); },
          "Refuse what is not what a page of 'preview --html' told, by its digest")
      ->type_name("DIGEST");
  addFrom(command, words);
  command->add_flag("--strict", words.strict, "Refuse for notes, too, such as that a filter selects nothing");
  command->add_option("--forbid", words.forbidden, "Refuse where a file or link without a label would be shared")
      ->allow_extra_args(false)
      ->transform(unmarked)
      ->type_name("unlabelled");
}

void addPreviewCommand(CLI::App& app, Words& words) {
  CLI::App* preview =
      addCommand(&app, "preview", "Show as a tree what a share would hand out, and what it would hold back and why",
                 "preview public drafts --only held-back");
  addWord(preview, "PROFILE", words.profile, PROFILE_HELP);
  addWord(preview, "PATH", words.paths, "What of it is shown: entries, with all that lies below them")->required(false);
  preview->add_option("--only", words.only, "Show these alone")
      ->transform(unmarked)
      ->type_name("held-back|shared|unlabelled");
  addNumber(preview, "--depth", words.depth,
            "Show so many levels, and of folders at the last one what lies in them, counted")
      ->type_name("N");
  addAllow(preview, words);
  addFrom(preview, words);
  addNamed(preview, "--html", words.page, "FILE",
           "A page to be made, for a browser: all of it, whatever part is shown here");
  addOffline(preview)->excludes("--html");  // which goes to whoever decides
  addNamed(preview, "--since", words.since, "RECEIPT|last",
           "What has changed since the share of this receipt, or since the last one");
  preview->callback([&words, preview] {
    const auto& all = viewWords();
    const bool isKnown = std::find(all.begin(), all.end(), words.only) != all.end();
    if (preview->count("--only") > 0 && !isKnown) {
      throw CLI::ParseError(fmt::format("--only takes {}", fmt::join(all, ", ")), WRONG_USAGE);
    }
    const ViewWords view{words.paths, words.only, static_cast<std::size_t>(words.depth)};
    previewProfile({words.profile, view, gateWordsOf(words), words.page, words.since});
  });
}

void addWhyCommand(CLI::App& app, Words& words) {
  CLI::App* why =
      addCommand(&app, "why", "Tell why one path is shared or held back", "why drafts/plan.txt --profile public");
  addWord(why, "PATH", words.name, "A file, folder or link of the project");
  addWord(why, "--profile", words.profile, PROFILE_HELP)->required(false)->type_name("PROFILE");
  addNamed(why, "--receipt", words.receipt, "RECEIPT|last", "Why it was, by this receipt or that of the last share");
  why->callback([&] {
    if (!words.receipt.empty()) return explainPathThen(words.name, words.profile, words.receipt);
    if (words.profile.empty()) throw CLI::ParseError("--profile or --receipt is required", WRONG_USAGE);
    explainPath(words.name, words.profile);
  });
}

void addCheckCommand(CLI::App& app, Words& words) {
  CLI::App* check =
      addCommand(&app, "check", "Tell whether a share would be refused, and make nothing: for hooks and CI",
                 "check public --strict --forbid unlabelled");
  addWord(check, "PROFILE", words.profile, PROFILE_HELP);
  addGateOptions(check, words);
  check->callback([&] { checkProfile(words.profile, gateWordsOf(words)); });
}

void addShareCommand(CLI::App& app, Words& words) {
  CLI::App* share = addCommand(&app, "share", "Hand out a copy: share PROFILE DEST, or share --whole DEST",
                               "share public ../for-the-customer --receipt ../for-the-customer.json");
  addWord(
      share, "PROFILE DEST", words.shared,
      "The profile (not with --whole), and what is to be made: a folder, a file by a name that ends in .tar, .tar.gz, "
      ".tar.zst or .zip, or - for a tar on standard output")
      ->required(false);  // they are counted
  share->add_flag("--whole", words.whole, "Everything, without a profile");
  share->add_flag("--plain", words.plain, "Without .project: the copy has no labels and is no project");
  share->add_flag("--dry-run", words.dryRun,
                  "Make nothing, and tell whether it would be refused; DEST may be left out");
  addGateOptions(share, words);
  addNamed(share, "--receipt", words.receipt, "FILE",
           "A JSON file to be made, for you: what was shared, what was held back, and why");
  share->add_flag("--update", words.updates,
                  "Put the new copy in the place of the last one at DEST, which has to be what was handed out");
  share->add_flag("--replace", words.replaces, "With --update: also where it is not, and keep it under another name");
  share->add_flag(
      "--checksum", words.checksum,
      "Note the content of each file, so that verify can compare it; --receipt does so, too. With --update: "
      "go by content, not by sizes and times");
  addNumber(share, "--keep-receipts", words.keptReceipts,
            "Of this profile and destination the project keeps the last N receipts, and not 10", 0)
      ->type_name("N");
  share->callback([&] {
    const ShareWords said = shareWordsOf(words);
    words.dryRun ? checkShare(said) : project_share::share(said);
  });
}

void addVerifyCommand(CLI::App& app, Words& words) {
  CLI::App* verify = addCommand(&app, "verify", "Check a copy against the receipt of its share",
                                "verify ../for-the-customer --receipt ../for-the-customer.json");
  addWord(verify, "COPY", words.folder, "The folder that was handed out");
  addNamed(verify, "--receipt", words.receipt, "FILE",
           "The file that share made; without it, the one that the project keeps");
  verify->callback([&] { verifyCopy(words.folder, words.receipt); });
}

}  // namespace

void addShareCommands(CLI::App& app, Words& words) {
  addPreviewCommand(app, words);
  addWhyCommand(app, words);
  addCheckCommand(app, words);
  addShareCommand(app, words);
  addVerifyCommand(app, words);
}

}  // namespace project_share
