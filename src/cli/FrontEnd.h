#pragma once
// What the CLI puts behind the library's hooks: message boxes become lines on
// stderr, the wait service drives a progress bar (only on a terminal), and
// every logged failure is echoed on stderr.
#include <string>
#include <vector>

#include "base/Result.h"

namespace quillet::cli {

void InstallFrontEndHooks();

// Prints a message on stderr, "\r\n" line breaks as lines, without breaking
// into a progress bar.
void PrintMessage(const std::string& text);

// Prints each warning as a "warning: TEXT" line on stderr.
void PrintWarnings(const std::vector<std::string>& warnings);

// The exit status of a job's result: 0, or 1 after telling the user what
// nobody has told them yet (a logged failure is echoed already, a message
// box was printed already).
int StatusOf(const Result& result);

}  // namespace quillet::cli
