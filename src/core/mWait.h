#pragma once
// The wait service that brackets every long operation, and the other places
// where the library needs its front end: letting pending events run and
// showing a message box. A front end installs its hooks at start; a test
// installs its own. Without hooks everything is a no-op.
#include <cstdint>
#include <functional>
#include <string>

namespace quillet {

struct WaitHooks {
    // Wait_Start: show the text, disable the controls, start the progress.
    std::function<void(const std::string& text)> start;
    // Wait_Stop: enable the controls, clear text and progress.
    std::function<void()> stop;
    // Let pending events run (timers, painting): the counting points call it.
    std::function<void()> doEvents;
    // A message box with the information icon, titled with the application's title.
    std::function<void(const std::string& text)> message;
    // The same with the warning icon, for what went wrong or was gone on
    // past; without it such a message goes to `message`.
    std::function<void(const std::string& text)> warning;
};

// Progress of the running long operation, 0 to 100.
extern int32_t WaitPercent;

void InstallWaitHooks(WaitHooks hooks);
const WaitHooks& CurrentWaitHooks();

void Wait_Start(const std::string& text);
void Wait_Stop();
void DoEvents();
void MsgBox(const std::string& text);
// A message box with the warning icon (the `warning` hook, else `message`).
void MsgBoxWarning(const std::string& text);
// How many messages MsgBox and MsgBoxWarning have shown in this run: a caller can tell whether
// a procedure that failed has told the user already.
int64_t MessagesShown();
// The text of the last of them ("" before the first).
const std::string& LastMessage();

// The counting point of every long loop: every 20000 items it stores the
// percentage done and lets events run.
class CountingPoint {
public:
    static constexpr int32_t kEvery = 20000;
    explicit CountingPoint(int64_t total, bool storePercent = true)
        : total_(total), storePercent_(storePercent) {}
    // done = the items finished before the current one.
    void Tick(int64_t done) {
        if (++counter_ < kEvery) return;
        counter_ = 0;
        if (storePercent_ && total_ > 0) WaitPercent = static_cast<int32_t>(done * 100 / total_);
        DoEvents();
    }
    // Items finished together (a run of blocks taken at once): the point is
    // passed once however many of its places the run went over.
    void TickMany(int64_t count, int64_t done) {
        if (count < 1) return;
        const int64_t reached = counter_ + count;
        counter_ = static_cast<int32_t>(reached % kEvery);
        if (reached < kEvery) return;
        if (storePercent_ && total_ > 0) WaitPercent = static_cast<int32_t>(done * 100 / total_);
        DoEvents();
    }

private:
    int64_t total_;
    bool storePercent_;
    int32_t counter_ = 0;
};

}  // namespace quillet
