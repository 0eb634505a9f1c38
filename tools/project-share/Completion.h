#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace project_share {

// What a shell may offer for the last of the words of a command line that is being typed. Printed is a line "files" or
// "folders", which the shell knows better, or "words" and then one candidate a line: what is to stand there, a tab, and
// what it means. Nothing where there is nothing to offer, or something fails. Only a project that may be opened is
// read. None is waited for, and none is written, but that opening brings a store of an older version up to date.
void complete(const CLI::App& program, std::vector<std::string> words);

}  // namespace project_share
