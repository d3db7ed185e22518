#include "cli/FrontEnd.h"

#include <unistd.h>

#include <cstdio>

#include "cli/Progress.h"
#include "base/cError.h"
#include "core/mWait.h"

namespace quillet::cli {
namespace {

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
        PrintMessage("error: " + Proc + ": " + description);
    };
}

void PrintWarnings(const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings) PrintMessage("warning: " + warning);
}

int StatusOf(const Result& result) {
    if (result.Ok()) return 0;
    if (!result.WasLogged() && !result.WasShown()) PrintMessage("error: " + result.Text());
    return 1;
}

}  // namespace quillet::cli
