#pragma once

// Runs the command that the words name and gives the exit code: 0, or 2 with one line on standard error for wrong
// usage. What a command refuses passes as an exception. It can be called again, but not by two threads: how a run
// writes and where it works is set for the process.
namespace project_share {

int runCommandLine(int argc, char** argv);

}  // namespace project_share
