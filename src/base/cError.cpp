#include "base/cError.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>

#include "base/AppInfo.h"

namespace quillet {
namespace {

std::string Stamp(const char* format) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[64];
    const size_t n = std::strftime(text, sizeof text, format, &local);
    return std::string(text, n);
}

}  // namespace

cError gError;

std::string CurrentFailureText() {
    const std::exception_ptr current = std::current_exception();
    if (!current) return {};
    try {
        std::rethrow_exception(current);
    } catch (const std::bad_alloc&) {
        return "Out of memory";
    } catch (const std::exception& e) {
        return e.what();
    } catch (...) {
        return "Unknown failure";
    }
}

cError::cError() : isIDE(kIsIDE), isNotIDE(!kIsIDE) {}

FailureWatch::FailureWatch() { gError.watches_.push_back(this); }

FailureWatch::~FailureWatch() {
    auto& watches = gError.watches_;
    watches.erase(std::remove(watches.begin(), watches.end(), this), watches.end());
}

std::string cError::LogFilePath() const {
    if (!LogFileOverride.empty()) return LogFileOverride;
    return ProgramDirectory() + kAppTitle + ".log";
}

void cError::Append(const std::string& record) {
    // Opened and closed per line: nothing is lost if the program dies later.
    const std::string line = record + "\r\n";
    std::FILE* file = std::fopen(LogFilePath().c_str(), "ab");
    bool written = false;
    if (file) {
        written = std::fwrite(line.data(), 1, line.size(), file) == line.size();
        written = (std::fclose(file) == 0) && written;
    }
    if (!written) std::fprintf(stderr, "%s: %s", kAppTitle, line.c_str());
}

void cError::Log(const std::string& Proc, std::string& description) {
    if (description.empty()) description = CurrentFailureText();
    Append(Stamp("%Y-%m-%d %H:%M:%S") + " " + Proc + ": " + description);
    for (FailureWatch* watch : watches_)
        if (watch->first_.empty()) watch->first_ = Proc + ": " + description;
    if (OnLogged) OnLogged(Proc, description);
}

void cError::Log(const std::string& Proc, const std::string& description) {
    std::string text = description;
    Log(Proc, text);
}

void cError::DPrint(const std::string& Text) {
    if (isIDE) return;
    Append(Stamp("%H:%M:%S") + " " + Text);
}

void cError::Count_Start() { start_ = std::chrono::steady_clock::now(); }

int32_t cError::Count_Stop() {
    stop_ = std::chrono::steady_clock::now();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(stop_ - start_).count();
    // Tick counts wrap in 32 bits; so does the difference.
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(ms)));
}

}  // namespace quillet
