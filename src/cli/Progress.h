#pragma once
// The progress bar of a long operation, drawn on one line of stderr. It draws
// only when enabled (stderr is a terminal); otherwise every call is a no-op.
#include <string>

namespace quillet::cli {

class ProgressBar {
public:
    explicit ProgressBar(bool enabled) : enabled_(enabled) {}
    void Start(const std::string& text);
    // Redraws when the percentage has changed.
    void Update(int percent);
    void Stop();
    // Clears the line so that other text can be written; the next Update
    // draws the bar again.
    void Interrupt();

private:
    void Draw();
    bool enabled_;
    bool running_ = false;
    bool shown_ = false;
    std::string text_;
    int percent_ = -1;
};

}  // namespace quillet::cli
