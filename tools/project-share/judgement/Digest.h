#pragma once

#include <set>
#include <string>

#include "judgement/Judgement.h"

namespace project_share {

// The short name of a judgement, by which somebody agrees to it: the SHA-256, in hexadecimal digits, over the profile's
// UUID, the scope, every shared entry (path, kind, target, mode and labels; of a file its size and modification time),
// every other one with the reason why it is held back, the labels that leave, the risks that were found and what was
// allowed, as it was written. Each of these has its length before it, so that no two judgements are the same bytes. It
// is the same in whatever order a folder was listed, on every machine, and for every destination.
std::string digestOf(const Judgement& judgement, const std::set<std::string>& allowed);

}  // namespace project_share
