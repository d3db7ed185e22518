#include "cli/FrontEnd.h"

#include <unistd.h>

#include <cstdio>

#include "cli/Progress.h"
#include "base/cError.h"
#include "core/mWait.h"

namespace quillet::cli {
namespace {

bool failureLogged = false;

ProgressBar& Bar() {
    static ProgressBar bar(::isatty(STDERR_FILENO) == 1);
    return bar;
}

std::string AsLines(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out += text[i];
    }
    return out;
}

}  // namespace

bool FailureLogged() { return failureLogged; }

void PrintMessage(const std::string& text) {
    Bar().Interrupt();
    const std::string lines = AsLines(text);
    std::fputs(lines.c_str(), stderr);
    if (lines.empty() || lines.back() != '\n') std::fputc('\n', stderr);
    std::fflush(stderr);
}

void InstallFrontEndHooks() {
    WaitHooks hooks;
    hooks.start = [](const std::string& text) { Bar().Start(text); };
    hooks.stop = [] { Bar().Stop(); };
    hooks.doEvents = [] { Bar().Update(WaitPercent); };
    hooks.message = [](const std::string& text) { PrintMessage(text); };
    InstallWaitHooks(hooks);

    gError.OnLogged = [](const std::string& Proc, const std::string& description) {
        failureLogged = true;
        PrintMessage("error: " + Proc + ": " + description);
    };
}

}  // namespace quillet::cli
