#pragma once
// The open patch of one command, as File, Open and File, Save do it: a fresh
// patch with the whole --patch file loaded, and at the end a save (only if
// the command changed something) to --out or back to --patch. The scratch
// DataFile is disposed of when the session ends, on every path out.
#include <string>

#include "cli/Args.h"

namespace quillet::cli {

class PatchSession {
public:
    // Reads --patch (required) and --out (optional), and opens the patch:
    // PatchNew, then LoadMUO over all FileIDs and blocks if the file exists.
    // A file that exists but is no readable MUO file, or a load that logs a
    // failure, is a CommandError: nothing is done and nothing is saved.
    explicit PatchSession(const ParsedArgs& args);
    ~PatchSession();
    PatchSession(const PatchSession&) = delete;
    PatchSession& operator=(const PatchSession&) = delete;

    const std::string& PatchPath() const { return path_; }
    void MarkChanged() { changed_ = true; }
    // The exit status of the command: 1 if a failure was logged (then nothing
    // is saved), else the save's outcome if the patch changed, else 0.
    int Finish();

private:
    std::string path_;
    std::string out_;
    bool changed_ = false;
};

// Throws a CommandError with the file's name and the reason when the file
// cannot be opened as a MUO file (missing, unreadable, unsupported version).
void CheckMUOReadable(const std::string& path);

// The scratch file and a half-written save are removed when the process is
// ended by a signal (Ctrl-C, a closed pipe); installed once at start.
void InstallSignalCleanup();

}  // namespace quillet::cli
