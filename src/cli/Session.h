#pragma once
// The open patch of one command, as File, Open and File, Save do it: a fresh
// patch with the whole --patch file loaded, and at the end a save (only if
// the command changed something) to --out or back to --patch. The scratch
// DataFile is disposed of when the session ends, on every path out.
#include <string>

#include "base/cError.h"
#include "cli/Args.h"

namespace quillet::cli {

class PatchSession {
public:
    // Reads --patch (required) and --out (optional), and opens the patch as
    // File, Open does. A file that exists but is no readable MUO file, or an
    // open that fails, is a CommandError: nothing is done and nothing is saved.
    explicit PatchSession(const ParsedArgs& args);
    ~PatchSession();
    PatchSession(const PatchSession&) = delete;
    PatchSession& operator=(const PatchSession&) = delete;

    const std::string& PatchPath() const { return path_; }
    void MarkChanged() { changed_ = true; }
    // The exit status of the command: 1 if a failure was logged while the
    // patch was open (then nothing is saved), else the save's outcome if the
    // patch changed, else 0.
    int Finish();

private:
    FailureWatch failures_;  // first, so that it sees the whole session
    std::string path_;
    std::string out_;
    bool changed_ = false;
};

// The scratch file, a half-written save and an export's unfinished
// verdata.tmp are removed when the process is ended by a signal (Ctrl-C, a
// closed pipe); installed once at start.
void InstallSignalCleanup();

}  // namespace quillet::cli
