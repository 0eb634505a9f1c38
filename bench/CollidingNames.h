#pragma once

#include <cstddef>
#include <string>

namespace bench {

// Names of one length, another for each number below 65,536. Where they begin at a multiple of four in a text, all such
// texts have one hash by the standard library that is used here: its hash has a fixed seed, and what one half of a
// block of eight bytes changes, the same change in another block takes back.
std::u16string collidingName(std::size_t number);

}  // namespace bench
