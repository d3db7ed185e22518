#include "cli/Session.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "cli/FrontEnd.h"
#include "core/mPatch.h"
#include "actions/mStart.h"
#include "core/mWait.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "base/SafeSave.h"

namespace quillet::cli {
namespace {

// Names the signal handler removes; plain buffers, as a handler may only
// read memory that nobody is changing.
char scratchName[4096];
char saveTempName[4096];

void Remember(char (&buffer)[4096], const std::string& name) {
    if (name.size() >= sizeof buffer) {
        buffer[0] = '\0';
        return;
    }
    std::memcpy(buffer, name.c_str(), name.size() + 1);
}

extern "C" void CleanUpAndExit(int signal) {
    if (saveTempName[0] != '\0') ::unlink(saveTempName);
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

void CheckMUOReadable(const std::string& path) {
    cMUO muo;
    const int32_t code = muo.cOpen(path);
    if (code != 0) throw CommandError(path + ": " + muo.cError(code));
    muo.cClose();
}

PatchSession::PatchSession(const ParsedArgs& args)
    : path_(args.Required("--patch")), out_(args.Optional("--out").value_or("")) {
    const bool exists = FileExists(path_);
    if (exists) CheckMUOReadable(path_);  // before a scratch file exists
    PatchNew();
    Remember(scratchName, DataFileName);
    if (exists) {
        Wait_Start("Loading MUO. Please wait.");
        LoadMUO(path_, 0, 255, 0, 400000);
        Wait_Stop();
    }
    if (FailureLogged()) {
        PatchDispose();
        scratchName[0] = '\0';
        throw CommandError("the patch " + path_ + " could not be opened whole; nothing was done");
    }
}

PatchSession::~PatchSession() {
    PatchDispose();
    scratchName[0] = '\0';
}

int PatchSession::Finish() {
    if (FailureLogged()) return 1;
    if (!changed_) return 0;
    const std::string target = out_.empty() ? path_ : out_;
    Remember(saveTempName, TempNameBeside(target));
    Wait_Start("Saving MUO. Please wait.");
    const bool saved = SaveMUO(target);
    Wait_Stop();
    saveTempName[0] = '\0';
    return saved && !FailureLogged() ? 0 : 1;
}

}  // namespace quillet::cli
