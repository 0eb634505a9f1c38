#include "server_store/Turn.h"

namespace server_store {

ConnectionLost::~ConnectionLost() = default;

StatementRefused::~StatementRefused() = default;

AnswerTooLarge::~AnswerTooLarge() = default;

}  // namespace server_store
