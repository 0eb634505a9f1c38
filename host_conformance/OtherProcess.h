#pragma once

#include <string>
#include <vector>

namespace host_conformance {

// As many UUIDs as are compared: of this process, and of one that runs this program again with the same arguments. None
// where that fails.
std::vector<std::u16string> uuidsOfThisProcess();
std::vector<std::u16string> uuidsOfAnotherProcess();

// In that other process: writes its UUIDs for this one, and does not return.
void tellUuidsIfAsked();

}  // namespace host_conformance
