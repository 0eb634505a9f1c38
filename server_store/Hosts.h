#pragma once

#include <string>
#include <vector>

#include "server_store/Deadlines.h"

// Where servers are.
namespace server_store {

struct Host {
  std::string name;
  std::string port;         // digits
  std::string number = {};  // its address, where that is said; empty
};

// The hosts of an address, "db.example:5433,[::1]"; a port that is not said is 5432; none of nothing. Error:
// ADDRESS_UNUSABLE.
std::vector<Host> hostsIn(const std::string& hosts);

// Whether a name means this machine, whatever a resolver would say of it: localhost, or a number of the loopback.
bool isThisMachine(const std::string& name);

// The numbers of a host, one at least. The system looks a name up for as long as it likes: so a thread of its own does
// it, which is left behind when the time is up. Throws ConnectionLost.
std::vector<std::string> numbersOf(const std::string& name, TimePoint deadline);

}  // namespace server_store
