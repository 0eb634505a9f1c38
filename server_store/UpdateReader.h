#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "folder_host/store/Origin.h"
#include "server_store/ContentDigest.h"
#include "server_store/Refusals.h"
#include "server_store/Statement.h"

namespace server_store {

// No value that is kept or taken is larger.
inline constexpr std::size_t LARGEST_VALUE = std::size_t{64} << 20U;

// Whether an edit has the form of those that are kept.
bool isSound(const folder_host::Edit& edit);

// Makes an update of the rows that a server sends, whatever they are. Error of all that throw: STORE_UNREADABLE;
// nothing is read any more then.
class UpdateReader {
 public:
  UpdateReader(const Refusals& refusals, const folder_host::Position& known);

  // A row that Statements.h's `state` asks for. Further error: STORE_TOO_NEW.
  void addState(const Row& row);
  // One that `items` asks for.
  void addItem(const Row& row);

  // Without any row of a project there is none.
  bool isThere() const noexcept { return state_.has_value(); }
  // The ones below need it to be there.
  const std::string& projectId() const { return state_->id; }
  // As the project's row has it.
  const ContentDigest& content() const { return state_->content; }
  bool isClosed() const { return state_->isClosed; }
  // The log does not reach back to what is known: it is to be asked for again, with nothing known.
  bool needsWhole() const { return known_.revision != 0 && known_.revision < state_->floor; }
  // Whether what is known is none of its states.
  bool hasGoneBack() const;
  // Further error: STORE_WENT_BACK.
  folder_host::Update finish() &&;

 private:
  struct State {
    std::string id;
    std::int64_t revision, floor;
    ContentDigest content;
    bool isClosed;
  };

  [[noreturn]] void refuse(const char* why) const;
  std::string_view bytesAt(const Row& row, std::size_t column, std::size_t most) const;
  std::int64_t numberAt(const Row& row, std::size_t column, std::size_t size, std::int64_t least,
                        std::int64_t most) const;
  State stateOf(const Row& row) const;
  folder_host::Edit editOf(const Row& row, std::int64_t number) const;
  bool isWhole() const noexcept { return known_.revision == 0; }

  const Refusals& refusals_;
  const folder_host::Position known_;
  std::optional<State> state_;
  std::optional<std::string> idOfKnown_;  // as the server has it
  ContentDigest contentRead_;
  folder_host::Update update_;
};

}  // namespace server_store
