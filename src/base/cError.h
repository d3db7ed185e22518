#pragma once
// The program's one failure channel: a line per failure in a text log beside
// the program. A log that cannot be written falls back to stderr, so that a
// failure inside the failure path never ends the process.
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillet {

class FailureWatch;

class cError {
public:
    cError();

    bool isIDE = false;
    bool isNotIDE = true;

    // Appends "date time Proc: description". An empty description is filled
    // with the text of the failure in progress (the caller's string with it).
    void Log(const std::string& Proc, std::string& description);
    void Log(const std::string& Proc, const std::string& description = {});
    void DPrint(const std::string& Text);
    void Count_Start();
    int32_t Count_Stop();

    // Where the log goes; empty means beside the program (cFileIO.exepath).
    std::string LogFileOverride;
    std::string LogFilePath() const;

    // A front end may echo every logged failure (the CLI prints them on
    // stderr). Called after the line is written.
    std::function<void(const std::string& Proc, const std::string& description)> OnLogged;

private:
    friend class FailureWatch;
    void Append(const std::string& record);
    std::vector<FailureWatch*> watches_;
    std::chrono::steady_clock::time_point start_{};
    std::chrono::steady_clock::time_point stop_{};
};

// The one failure log of the process. Nothing logs during static
// initialisation, so its place among the other global objects does not matter.
extern cError gError;

// Text of the exception being handled, or "" when none is.
std::string CurrentFailureText();

// Collects the failures logged while it lives, so that a job can answer
// whether anything it called failed: the first one's "Proc: description".
// Watches nest; each sees every failure logged in its lifetime.
class FailureWatch {
public:
    FailureWatch();
    ~FailureWatch();
    FailureWatch(const FailureWatch&) = delete;
    FailureWatch& operator=(const FailureWatch&) = delete;

    bool Failed() const { return !first_.empty(); }
    const std::string& First() const { return first_; }

private:
    friend class cError;
    std::string first_;
};

}  // namespace quillet
