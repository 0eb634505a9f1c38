#include "server_store/PostgresServers.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "server_store/Connection.h"
#include "server_store/Insisting.h"
#include "server_store/PostgresOrigin.h"
#include "server_store/Statements.h"
#include "server_store/UpdateReader.h"

namespace server_store {

using folder_host::Address;
using folder_host::Changes;
using folder_host::Edit;

namespace {

constexpr std::chrono::milliseconds PAUSE_OF_MAKING{100};
constexpr std::size_t LARGEST_PROJECT = std::size_t{1} << 30U;

std::string newProjectId() {
  std::array<char, 16> id = {};
  if (::getentropy(id.data(), id.size()) != 0) throw std::system_error(errno, std::generic_category());
  return {id.data(), id.size()};
}

// The bytes of all of it.
std::size_t sizeOf(const Refusals& refusals, const Changes& content, const std::vector<Edit>& log) {
  const auto isPut = [](const folder_host::Change& change) { return change.isPut; };
  if (log.empty() || !std::all_of(content.begin(), content.end(), isPut)) throw std::logic_error("no project");
  std::size_t size = bytesOf(content).size();
  for (const Edit& edit : log) {
    if (!isSound(edit) || edit.number - log.front().number != &edit - log.data()) throw std::logic_error("no log");
    const std::size_t added = bytesOf(edit.changes).size();
    size += added;
    if (added > LARGEST_VALUE) throw refusals.tooLarge();
  }
  if (size > LARGEST_PROJECT) throw refusals.tooLarge();
  return size;
}

// One project that is being made. Its id tells whether it is this one that is there, where an answer was lost.
class Making {
 public:
  Making(const Address& address, const Deadlines& deadlines, const Changes& content, const std::vector<Edit>& log)
      : name_(address.project), deadlines_(deadlines), refusals_(address), connection_(address, deadlines) {
    size_ = sizeOf(refusals_, content, log);
    lastEdit_ = log.back().id;
    ContentDigest digest;
    Statements rows = keepRows(id_, content, digest);
    statements_ = beginEditing(deadlines.lock);
    projectAt_ = statements_.size();
    statements_.push_back(makeProject(id_, name_, log.front().number, log.back().number, digest));
    for (Statement& statement : rows) statements_.push_back(std::move(statement));
    statements_.reserve(statements_.size() + log.size() + 1);
    for (const Edit& edit : log) statements_.push_back(keepEdit(id_, edit));
    statements_.push_back(commit());
  }

  void run() {
    const TimePoint deadline = Clock::now() + deadlines_.answer + deadlines_.lock + 2 * timeFor(size_);
    while (!isMade(deadline)) {
      if (Clock::now() + PAUSE_OF_MAKING >= deadline) throw refusals_.outcomeUnknown(lastEdit_);
      std::this_thread::sleep_for(PAUSE_OF_MAKING);
    }
  }

 private:
  // What is made a second time waits for the first one, whose name it has, to come to its end.
  bool isMade(TimePoint deadline) {
    try {
      const Answer answer = connection_.run(statements_, nullptr, std::min(deadline, Clock::now() + deadlines_.answer));
      if (!answer.hasWarned && answer.last == "COMMIT") return true;
      throw refusals_.outcomeUnknown(lastEdit_);
    } catch (const ConnectionLost& lost) {
      if (!mayBeMade_ && lost.when() == ConnectionLost::When::connecting) throw refusals_.unreachable(lost.what());
    } catch (const StatementRefused& refused) {
      const bool isTaken = refused.code() == "23505" && refused.statement() == projectAt_;
      if (isTaken && mayBeMade_) return isMine(deadline);
      if (isTaken) throw refusals_.nameTaken();
      if (!mayBeMade_ && !isPassing(refused)) throw refusals_.ofEditing(refused);
      return false;
    } catch (const folder_host::Error&) {
      throw;
    } catch (const std::exception&) {
      // Memory may have run out, too: that says nothing of what was made.
    }
    mayBeMade_ = true;
    return false;
  }

  bool isMine(TimePoint deadline) {
    std::string found;
    const auto onRow = [&](std::size_t, const Row& row) { found = row.empty() ? "" : row[0].value_or(""); };
    try {
      connection_.run({idOf(name_)}, onRow, deadline);
    } catch (const std::exception&) {
      return false;
    }
    if (found == id_) return true;
    throw refusals_.nameTaken();
  }

  const std::string name_;
  const Deadlines deadlines_;
  const Refusals refusals_;
  const std::string id_ = newProjectId();
  Connection connection_;
  Statements statements_;
  std::size_t size_ = 0;
  std::size_t projectAt_ = 0;
  std::string lastEdit_;
  bool mayBeMade_ = false;
};

}  // namespace

PostgresServers::PostgresServers(const Deadlines& deadlines) : deadlines_(deadlines) {}

PostgresServers::~PostgresServers() = default;

std::shared_ptr<folder_host::Origin> PostgresServers::originAt(const Address& address) {
  return std::make_shared<PostgresOrigin>(address, deadlines_);
}

void PostgresServers::create(const Address& address, const Changes& content, const std::vector<Edit>& log) {
  Making(address, deadlines_, content, log).run();
}

}  // namespace server_store
