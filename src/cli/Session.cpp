#include "cli/Session.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "actions/mPatchJobs.h"
#include "base/SafeSave.h"
#include "cli/FrontEnd.h"
#include "core/mPatch.h"

namespace quillet::cli {
namespace {

// The scratch file's name for the signal handler; a plain buffer, as a
// handler may only read memory that nobody is changing.
char scratchName[4096];

void Remember(char (&buffer)[4096], const std::string& name) {
    if (name.size() >= sizeof buffer) {
        buffer[0] = '\0';
        return;
    }
    std::memcpy(buffer, name.c_str(), name.size() + 1);
}

extern "C" void CleanUpAndExit(int signal) {
    // The temporary file of a save or an export under way (an export's
    // verdata.tmp only once it is this run's, under the directory's lock).
    RemoveClaimedTempFiles();
    if (scratchName[0] != '\0') ::unlink(scratchName);
    ::_exit(128 + signal);
}

bool FileExists(const std::string& path) {
    struct stat info{};
    return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

void InstallSignalCleanup() {
    struct sigaction action{};
    action.sa_handler = CleanUpAndExit;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::sigaction(signal, &action, nullptr);
}

PatchSession::PatchSession(const ParsedArgs& args, PatchAccess access)
    : path_(args.Required("--patch")), out_(args.Optional("--out").value_or("")) {
    // Before a scratch file exists.
    Lock(access, !args.Has("--no-wait"));
    if (FileExists(path_))
        if (const Result readable = CheckPatchFile(path_); !readable) throw CommandError(readable.Text());
    // A fresh store without the radar colours: of the commands only render
    // draws with them, and it loads them itself, so that no other command
    // has to look for the client in the registry.
    NewPatchStore();
    Remember(scratchName, DataFileName);
    if (!LoadPatchFile(path_) || failures_.Failed()) {
        PatchDispose();
        scratchName[0] = '\0';
        throw CommandError("the patch " + path_ + " could not be opened whole; nothing was done");
    }
}

void PatchSession::Lock(PatchAccess access, bool wait) {
    // --patch is changed only when the save goes back to it; --out is
    // written whole. One file named twice is locked once.
    const bool savesBack = out_.empty() || out_ == path_;
    std::vector<PathLock::Request> requests{
        {path_, access == PatchAccess::Change && savesBack ? LockMode::Exclusive : LockMode::Shared}};
    if (access == PatchAccess::Change && !savesBack) requests.push_back({out_, LockMode::Exclusive});
    std::string busy;
    const auto waiting = [](const std::string& path) {
        PrintMessage(PatchInUseText(path) + " Waiting for it (--no-wait fails at once instead).");
    };
    if (!lock_.Acquire(requests, wait, &busy, waiting))
        throw CommandError(PatchInUseText(busy) + " Nothing was done (--no-wait).");
}

PatchSession::~PatchSession() {
    PatchDispose();
    scratchName[0] = '\0';
}

int PatchSession::Finish() {
    if (failures_.Failed()) return 1;
    if (!changed_) return 0;
    return StatusOf(SavePatch(out_.empty() ? path_ : out_));
}

}  // namespace quillet::cli
