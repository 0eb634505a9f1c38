#include "judgement/Risk.h"

#include <algorithm>
#include <utility>

#include "words/TypedCommand.h"

namespace project_share {

void Command::append(const Command& next) {
  text += (text.empty() ? "" : " && ") + next.text;
  isTyped = isTyped && next.isTyped;
}

Command typedCommand(const std::vector<std::string>& words) {
  return {commandOf(words), std::all_of(words.begin(), words.end(), isTyped)};
}

Risk riskOf(folder_host::Risk risk) {
  return {risk.identifier, std::move(risk.path), std::move(risk.message), std::move(risk.otherPaths)};
}

std::string messageOf(const Risk& risk) {
  std::string message = risk.what;
  for (const auto& [purpose, command] : risk.mends) {
    message += std::string("; ") + purpose + (command.text.empty() ? "" : ": " + command.text);
  }
  return message;
}

}  // namespace project_share
