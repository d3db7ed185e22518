#include "cli/Progress.h"

#include <algorithm>
#include <cstdio>

namespace quillet::cli {
namespace {
constexpr int kBarWidth = 30;
constexpr const char* kClearLine = "\r\033[K";
}  // namespace

void ProgressBar::Start(const std::string& text) {
    text_ = text;
    running_ = true;
    percent_ = 0;
    Draw();
}

void ProgressBar::Update(int percent) {
    percent = std::clamp(percent, 0, 100);
    if (!running_ || (shown_ && percent == percent_)) return;
    percent_ = percent;
    Draw();
}

void ProgressBar::Stop() {
    Interrupt();
    running_ = false;
}

void ProgressBar::Interrupt() {
    if (!enabled_ || !shown_) return;
    std::fputs(kClearLine, stderr);
    std::fflush(stderr);
    shown_ = false;
}

void ProgressBar::Draw() {
    if (!enabled_ || !running_) return;
    const int filled = percent_ * kBarWidth / 100;
    std::fprintf(stderr, "%s%s [%s%s] %3d%%", kClearLine, text_.c_str(), std::string(static_cast<size_t>(filled), '#').c_str(),
                 std::string(static_cast<size_t>(kBarWidth - filled), ' ').c_str(), percent_);
    std::fflush(stderr);
    shown_ = true;
}

}  // namespace quillet::cli
