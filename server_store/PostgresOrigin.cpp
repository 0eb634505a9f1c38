#include "server_store/PostgresOrigin.h"

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <utility>

#include "server_store/Insisting.h"

namespace server_store {

using folder_host::Edit;
using folder_host::Position;
using folder_host::Update;

namespace {

constexpr std::chrono::milliseconds PAUSE{100};

void append(Statements& statements, const Statements& more) {
  statements.insert(statements.end(), more.begin(), more.end());
}

}  // namespace

PostgresOrigin::PostgresOrigin(const folder_host::Address& address, const Deadlines& deadlines)
    : project_(address.project), deadlines_(deadlines), refusals_(address), connection_(address, deadlines) {}

PostgresOrigin::~PostgresOrigin() = default;

std::unique_ptr<UpdateReader> PostgresOrigin::ask(Statements statements, const Position& known, const Statements& after,
                                                  TimePoint deadline) {
  auto reader = std::make_unique<UpdateReader>(refusals_, known);
  const bool isWhole = known.revision == 0;
  const std::size_t stateAt = statements.size();
  statements.push_back(state(project_, known.revision));
  if (isWhole) statements.push_back(items(project_));
  append(statements, after);
  const auto onRow = [&](std::size_t statement, const Row& row) {
    if (statement == stateAt) reader->addState(row);
    if (isWhole && statement == stateAt + 1) reader->addItem(row);
  };
  connection_.run(statements, onRow, deadline);
  if (!reader->isThere()) throw refusals_.notFound();
  return reader;
}

Update PostgresOrigin::readOnce(const Position& known, TimePoint deadline) {
  std::unique_ptr<UpdateReader> reader;
  if (known.revision != 0) reader = ask({}, known, {}, deadline);
  if (reader == nullptr || reader->needsWhole()) reader = ask({beginReading()}, {}, {commit()}, deadline);
  if (reader->isClosed()) throw refusals_.moved();
  return std::move(*reader).finish();
}

Update PostgresOrigin::read(const Position& known) {
  if (held_) throw std::logic_error("the lock is held");
  const TimePoint deadline = Clock::now() + deadlines_.answer;
  const auto refusalOf = [&](const StatementRefused& refused) { return refusals_.ofReading(refused); };
  return insist(
      refusals_, deadline, [&] { return readOnce(known, deadline); }, refusalOf);
}

std::unique_ptr<UpdateReader> PostgresOrigin::askLocked(const Position& known, TimePoint deadline) {
  Statements statements = beginEditing(deadlines_.lock);
  statements.push_back(takeLock(project_));
  return ask(std::move(statements), known, {}, deadline);
}

Update PostgresOrigin::lockOnce(const Position& known, TimePoint deadline) {
  auto reader = askLocked(known, deadline);
  if (reader->isClosed()) throw refusals_.moved();
  if (reader->needsWhole()) reader = ask({}, {}, {}, deadline);
  Held held{reader->projectId(), {}, reader->content()};
  Update update = std::move(*reader).finish();
  held.base = update.edits.empty() ? known : Position{update.edits.back().number, update.edits.back().id};
  held_ = std::move(held);
  return update;
}

Update PostgresOrigin::lock(const Position& known) {
  if (held_) throw std::logic_error("the lock is held already");
  const TimePoint deadline = Clock::now() + deadlines_.lock + deadlines_.answer;
  const auto refusalOf = [&](const StatementRefused& refused) { return refusals_.ofEditing(refused); };
  try {
    return insist(
        refusals_, deadline, [&] { return lockOnce(known, deadline); }, refusalOf);
  } catch (...) {
    connection_.close();
    throw;
  }
}

// A server that was started again shows what its standby may not have. What is committed behind it, the standby has
// only after it.
void PostgresOrigin::requireOnStandby(const Held& held, const Edit& edit, TimePoint deadline) {
  try {
    const Answer answer = connection_.run({touch(held.projectId), commit()}, nullptr, deadline);
    if (answer.last == "COMMIT" && !answer.hasWarned) return;
  } catch (const std::exception&) {
    // Nothing is known of it, then.
  }
  throw refusals_.outcomeUnknown(edit.id);
}

bool PostgresOrigin::isKept(const Held& held, const Edit& edit, TimePoint deadline) {
  std::unique_ptr<UpdateReader> reader;
  Update update;
  while (reader == nullptr) {
    try {
      reader = askLocked(held.base, deadline);
      if (!reader->hasGoneBack() && !reader->needsWhole()) update = std::move(*reader).finish();
    } catch (const std::exception&) {
      // Whatever it was: as long as nothing is known of the edit, it is asked for again.
      reader = nullptr;
      connection_.close();
      if (Clock::now() + PAUSE >= deadline) throw refusals_.outcomeUnknown(edit.id);
      std::this_thread::sleep_for(PAUSE);
    }
  }
  if (reader->needsWhole()) throw refusals_.outcomeUnknown(edit.id);
  if (reader->hasGoneBack()) throw refusals_.wentBack();
  const auto isIt = [&](const Edit& one) { return one.id == edit.id; };
  if (std::any_of(update.edits.begin(), update.edits.end(), isIt)) {
    requireOnStandby(held, edit, deadline);
    return true;
  }
  if (reader->isClosed()) throw refusals_.moved();
  if (!update.edits.empty()) throw refusals_.conflict();
  return false;
}

// COMMIT goes along with what it is to keep, which saves a round trip. The answer may be lost, then, of any of it: what
// is asked for again takes the lock, and so waits until the transaction that nobody hears of has come to its end.
void PostgresOrigin::keep(const Held& held, const Edit& edit, bool isLast) {
  ContentDigest content = held.content;
  Statements statements = keepRows(held.projectId, edit.changes, content);
  const std::size_t rows = statements.size();
  statements.push_back(keepEdit(held.projectId, edit));
  statements.push_back(moveOn(held.projectId, edit.number, content, isLast));
  statements.push_back(commit());
  const TimePoint deadline =
      Clock::now() + deadlines_.answer + deadlines_.lock + 2 * timeFor(bytesOf(edit.changes).size());
  do {
    try {
      const Answer answer = connection_.run(statements, nullptr, std::min(deadline, Clock::now() + deadlines_.answer));
      if (!answer.hasWarned && answer.last == "COMMIT") return;
      throw refusals_.outcomeUnknown(edit.id);
    } catch (const StatementRefused& refused) {
      const bool isCount = refused.code() == "22012" || refused.code() == "23505";
      if (isCount && refused.statement() < rows) throw refusals_.unreadable("its rows are not what its edits come to");
      if (isCount) throw refusals_.conflict();
      if (!isPassing(refused)) throw refusals_.ofEditing(refused);
    } catch (const folder_host::Error&) {
      throw;
    } catch (const std::exception&) {
      // Memory may have run out, too: that says nothing of the edit.
    }
  } while (!isKept(held, edit, deadline));
  connection_.close();
}

void PostgresOrigin::publish(const Edit& edit, bool isLast) {
  if (!held_) throw std::logic_error("the lock is not held");
  const Held held = *std::exchange(held_, std::nullopt);
  try {
    if (edit.number != held.base.revision + 1 || !isSound(edit)) throw std::logic_error("no edit that comes next");
    if (std::max(bytesOf(edit.changes).size(), edit.settled.size()) > LARGEST_VALUE) throw refusals_.tooLarge();
    keep(held, edit, isLast);
  } catch (...) {
    connection_.close();
    throw;
  }
}

void PostgresOrigin::release() noexcept {
  if (held_) connection_.close();
  held_.reset();
}

}  // namespace server_store
