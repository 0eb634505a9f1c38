#pragma once

#include "server_store/Deadlines.h"
#include "server_store/Refusals.h"
#include "server_store/Turn.h"

namespace server_store {

// Whether the server asks for the same once more.
inline bool isPassing(const StatementRefused& refused) {
  return refused.code() == "40001" || refused.code() == "40P01";
}

// Gives what `ask` gives, which is asked once more where a connection turns out to be dead, and for as long as there is
// time where the server says so. `refusalOf` makes a refusal of what it says else.
template <class Ask, class RefusalOf>
auto insist(const Refusals& refusals, TimePoint deadline, const Ask& ask, const RefusalOf& refusalOf) {
  bool isSecond = false;
  while (true) {
    try {
      return ask();
    } catch (const ConnectionLost& lost) {
      const bool wasAlive = lost.when() == ConnectionLost::When::talking;
      if (!wasAlive || isSecond || Clock::now() >= deadline) throw refusals.unreachable(lost.what());
      isSecond = true;
    } catch (const StatementRefused& refused) {
      if (!isPassing(refused) || Clock::now() >= deadline) throw refusalOf(refused);
    } catch (const AnswerTooLarge& large) {
      throw refusals.unreadable(large.what());
    }
  }
}

}  // namespace server_store
