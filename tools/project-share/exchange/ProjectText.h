#pragma once

#include <cstddef>
#include <string>

#include "exchange/ProjectState.h"

// An export: a state as one text of JSON, to be read, compared and kept (docs/exchange-format.md).
namespace project_share {

// More is no export: it is to be refused before it takes the memory.
inline constexpr std::size_t LONGEST_EXPORT = std::size_t{256} << 20U;

// The same state always gives the same text.
std::string textOf(const ProjectState& state);

// The state whose text it is: textOf gives it again, as far as the text is in that form. Everything in it can stand in
// a store. `file` is what the text is called in the error: IMPORT_UNREADABLE.
ProjectState stateIn(const std::string& text, const std::string& file);

const char* wordOf(folder_host::MarkKind kind);  // "entry", "reach", "exception"

}  // namespace project_share
