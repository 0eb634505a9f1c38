#include "server_store/UpdateReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "folder_host/store/Schema.h"

namespace server_store {

using folder_host::Edit;

namespace {

constexpr std::size_t LONGEST_ID = 100;
constexpr std::size_t LONGEST_NAME = 4096;
constexpr std::size_t LONGEST_WORDS = 65536;
constexpr std::int64_t LATEST = 253402300799999;  // the end of the year 9999
constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max() - 1;
constexpr std::size_t STATE_COLUMNS = 15;
enum Column : std::size_t {
  ID,
  FORMAT,
  REVISION,
  FLOOR,
  CONTENT,
  CLOSED,
  NUMBER,
  EDIT,
  AT,
  AUTHOR,
  MACHINE,
  WORDS,
  UNDOES,
  CHANGES,
  SETTLED
};

// A UUID, or what another program may take for one.
bool isId(std::string_view id) {
  const auto isSeen = [](unsigned char c) { return c > ' ' && c < 0x7F; };
  return id.size() <= LONGEST_ID && std::all_of(id.begin(), id.end(), isSeen);
}

}  // namespace

bool isSound(const Edit& edit) {
  return edit.number > 0 && !edit.id.empty() && isId(edit.id) && isId(edit.undoes) && edit.at >= 0 &&
         edit.at <= LATEST && edit.user.size() <= LONGEST_NAME && edit.machine.size() <= LONGEST_NAME &&
         edit.words.size() <= LONGEST_WORDS;
}

UpdateReader::UpdateReader(const Refusals& refusals, const folder_host::Position& known)
    : refusals_(refusals), known_(known) {
  update_.isWhole = isWhole();
}

void UpdateReader::refuse(const char* why) const { throw refusals_.unreadable(why); }

std::string_view UpdateReader::bytesAt(const Row& row, std::size_t column, std::size_t most) const {
  if (!row[column] || row[column]->size() > most) refuse("a value is missing or too large");
  return *row[column];
}

std::int64_t UpdateReader::numberAt(const Row& row, std::size_t column, std::size_t size, std::int64_t least,
                                    std::int64_t most) const {
  const auto number = numberIn(bytesAt(row, column, size), size);
  if (!number || *number < least || *number > most) refuse("a number is none, or out of range");
  return *number;
}

UpdateReader::State UpdateReader::stateOf(const Row& row) const {
  if (numberAt(row, FORMAT, 4, 1, MOST) > folder_host::SCHEMA_VERSION) throw refusals_.tooNew();
  State state = {};
  state.id = bytesAt(row, ID, LONGEST_ID);
  state.revision = numberAt(row, REVISION, 8, 1, MOST);
  state.floor = numberAt(row, FLOOR, 8, 1, state.revision);
  const std::string_view content = bytesAt(row, CONTENT, ContentDigest::SIZE);
  if (content.size() != ContentDigest::SIZE) refuse("a digest is none");
  state.content = ContentDigest(content);
  state.isClosed = numberAt(row, CLOSED, 1, 0, 1) != 0;
  return state;
}

Edit UpdateReader::editOf(const Row& row, std::int64_t number) const {
  Edit edit;
  edit.number = number;
  edit.id = bytesAt(row, EDIT, LONGEST_ID);
  edit.at = numberAt(row, AT, 8, 0, LATEST);
  edit.user = bytesAt(row, AUTHOR, LONGEST_NAME);
  edit.machine = bytesAt(row, MACHINE, LONGEST_NAME);
  edit.words = bytesAt(row, WORDS, LONGEST_WORDS);
  edit.undoes = bytesAt(row, UNDOES, LONGEST_ID);
  auto changes = folder_host::changesIn(bytesAt(row, CHANGES, LARGEST_VALUE));
  if (!changes || !isSound(edit)) refuse("an edit is none");
  edit.changes = std::move(*changes);
  edit.settled = bytesAt(row, SETTLED, LARGEST_VALUE);
  return edit;
}

void UpdateReader::addState(const Row& row) {
  if (row.size() != STATE_COLUMNS) refuse("a row has other columns");
  if (!state_) state_ = stateOf(row);
  if (!row[NUMBER]) return;
  const std::int64_t number = numberAt(row, NUMBER, 8, 1, state_->revision);
  if (!isWhole() && number == known_.revision && !idOfKnown_) {
    idOfKnown_ = std::string(bytesAt(row, EDIT, LONGEST_ID));
    return;
  }
  const std::int64_t before = !update_.edits.empty() ? update_.edits.back().number
                              : isWhole()            ? state_->floor - 1
                                                     : known_.revision;
  if (number != before + 1 || (!isWhole() && !idOfKnown_)) refuse("an edit is missing, or there twice");
  update_.edits.push_back(editOf(row, number));
}

void UpdateReader::addItem(const Row& row) {
  if (row.size() != 1) refuse("a row has other columns");
  const std::string_view bytes = bytesAt(row, 0, LARGEST_VALUE);
  auto changes = folder_host::changesIn(bytes);
  if (!changes || changes->size() != 1 || !changes->front().isPut) refuse("a row of the store is none");
  contentRead_.toggle(digestOfRow(bytes));
  update_.content.push_back(std::move(changes->front()));
}

bool UpdateReader::hasGoneBack() const {
  if (isWhole() || needsWhole()) return false;
  return state_->revision < known_.revision || (idOfKnown_ && *idOfKnown_ != known_.editId);
}

folder_host::Update UpdateReader::finish() && {
  if (hasGoneBack()) throw refusals_.wentBack();
  const std::int64_t last = update_.edits.empty() ? (idOfKnown_ ? known_.revision : 0) : update_.edits.back().number;
  if (last != state_->revision) refuse("an edit is missing");
  if (isWhole() && contentRead_.bytes() != state_->content.bytes()) refuse("rows of its store are missing or changed");
  return std::move(update_);
}

}  // namespace server_store
