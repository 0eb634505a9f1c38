#pragma once

#include "exchange/ProjectState.h"

namespace project_share {

struct ImportWords {
  bool replaces = false;      // what the project has beyond the file goes
  bool withoutMarks = false;  // marks, what is settled and unknown nodes stay as the project has them
};

// What is considered of a state by these words.
ProjectState considered(ProjectState state, const ImportWords& words);

// What a project becomes by what a file has. Without `replaces`, all that the project has stays, and what both have is
// as in the file; of a label's rules, all stay where their order tells nothing or one list holds the other. Errors:
// IMPORT_CONFLICT where rules would need an order that nobody has given them, or a label is in another category; and
// what other commands would not make either: NAME_EMPTY, LABEL_NAME_TAKEN, PROFILE_NAME_TAKEN, LABEL_IN_USE.
ProjectState merged(const ProjectState& project, const ProjectState& file, const ImportWords& words);

}  // namespace project_share
