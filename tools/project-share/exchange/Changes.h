#pragma once

#include <string>
#include <vector>

#include "exchange/ProjectState.h"
#include "output/Json.h"

namespace project_share {

enum class Turn { added, removed, changed, kept };

// One difference of two states, as it is told: "mark audience/internal  drafts".
struct Change {
  Turn turn;
  std::string text;
  Json object;  // "what", and what it is about
};

// By category and name of the labels, then by profiles and other nodes. Roots without values are not told of.
std::vector<Change> changesBetween(const ProjectState& before, const ProjectState& after);

// "+ mark audience/internal  drafts"
std::string textOf(const Change& change);
Json jsonOf(const Change& change);

}  // namespace project_share
