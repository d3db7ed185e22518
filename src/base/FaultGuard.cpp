#include "base/FaultGuard.h"

#include <csetjmp>
#include <csignal>
#include <mutex>

namespace quillet {
namespace {

// The guard of the work this thread runs, if any.
thread_local sigjmp_buf* tGuard = nullptr;
struct sigaction gBefore {};

// A fault within guarded work returns to its guard. Any other is handled as
// the handler in place before ours would have.
void OnBusError(int signal, siginfo_t* info, void* context) {
    if (tGuard != nullptr) siglongjmp(*tGuard, 1);
    if ((gBefore.sa_flags & SA_SIGINFO) != 0) {
        if (gBefore.sa_sigaction != nullptr) gBefore.sa_sigaction(signal, info, context);
        return;
    }
    if (gBefore.sa_handler != SIG_DFL && gBefore.sa_handler != SIG_IGN) {
        gBefore.sa_handler(signal);
        return;
    }
    // The faulting read runs again on return, and ends the program as it
    // would have without us.
    std::signal(SIGBUS, SIG_DFL);
}

void InstallHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action {};
        action.sa_sigaction = OnBusError;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        sigaction(SIGBUS, &action, &gBefore);
    });
}

}  // namespace

bool RunGuarded(void (*Work)(void*), void* Context) noexcept {
    InstallHandler();
    sigjmp_buf guard;
    sigjmp_buf* const outer = tGuard;
    // The mask is saved with the guard: the jump leaves the handler, where
    // SIGBUS is blocked, and must unblock it again.
    if (sigsetjmp(guard, 1) != 0) {
        tGuard = outer;
        return false;
    }
    tGuard = &guard;
    Work(Context);
    tGuard = outer;
    return true;
}

}  // namespace quillet
