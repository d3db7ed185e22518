#pragma once
// What the CLI puts behind the library's hooks, and what it keeps of a run:
// message boxes become lines on stderr, the wait service drives a progress
// bar (only on a terminal), and every logged failure is printed and fails the
// run.
#include <string>

namespace quillet::cli {

void InstallFrontEndHooks();

// A failure has been logged since the start of the run: the exit status is 1
// and nothing is saved.
bool FailureLogged();

// Prints a message on stderr, "\r\n" line breaks as lines, without breaking
// into a progress bar.
void PrintMessage(const std::string& text);

}  // namespace quillet::cli
