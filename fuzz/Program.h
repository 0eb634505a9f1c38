#pragma once

#include <string>

// A project in a scratch folder of this process alone, which becomes the working directory: name files by their whole
// path. As it is at first: two labels, two files and a link, a profile that holds back what lies in "drafts".
void makeProject();

// Runs project-share in the project: a command each line, words separated by blanks. Done, refused and wrong usage are
// what may come of a command; where the store is not to be trusted, a missing value too.
void runProgram(const std::string& lines, bool isTrusted);
