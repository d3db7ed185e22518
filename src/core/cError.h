#pragma once
// The program's one failure channel: a line per failure in a text log beside
// the program. A log that cannot be written falls back to stderr, so that a
// failure inside the failure path never ends the process.
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace quillet {

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

    // Front ends may listen to every logged failure (the CLI prints them and
    // turns them into its exit status). Called after the line is written.
    std::function<void(const std::string& Proc, const std::string& description)> OnLogged;

private:
    void Append(const std::string& record);
    std::chrono::steady_clock::time_point start_{};
    std::chrono::steady_clock::time_point stop_{};
};

// Text of the exception being handled, or "" when none is.
std::string CurrentFailureText();

}  // namespace quillet
