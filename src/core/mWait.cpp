#include "core/mWait.h"

#include <utility>

namespace quillet {

int32_t WaitPercent = 0;

namespace {
WaitHooks& Hooks() {
    static WaitHooks hooks;
    return hooks;
}
}  // namespace

void InstallWaitHooks(WaitHooks hooks) { Hooks() = std::move(hooks); }
const WaitHooks& CurrentWaitHooks() { return Hooks(); }

void Wait_Start(const std::string& text) {
    WaitPercent = 0;
    if (Hooks().start) Hooks().start(text);
}

void Wait_Stop() {
    if (Hooks().stop) Hooks().stop();
    WaitPercent = 0;
}

void DoEvents() {
    if (Hooks().doEvents) Hooks().doEvents();
}

namespace {
int64_t gMessagesShown = 0;
std::string gLastMessage;
}  // namespace

void MsgBox(const std::string& text) {
    ++gMessagesShown;
    gLastMessage = text;
    if (Hooks().message) Hooks().message(text);
}

void MsgBoxWarning(const std::string& text) {
    ++gMessagesShown;
    gLastMessage = text;
    if (Hooks().warning)
        Hooks().warning(text);
    else if (Hooks().message)
        Hooks().message(text);
}

int64_t MessagesShown() { return gMessagesShown; }

const std::string& LastMessage() { return gLastMessage; }

}  // namespace quillet
