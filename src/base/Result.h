#pragma once
// What a job answers its front end: success, or the text of the failure and
// whether the user has heard of it already (a logged failure is in the log,
// and the CLI echoes the log; a shown one was a message box), so that a front
// end tells the user once.
#include <string>
#include <utility>
#include <vector>

namespace quillet {

class Result {
public:
    enum class Told : unsigned char { Nobody, Logged, Shown };

    static Result Success() { return {}; }
    // A failure nobody has been told of yet.
    static Result Failed(std::string text) { return {std::move(text), Told::Nobody}; }
    // A failure already in the log: "Proc: description".
    static Result Logged(std::string text) { return {std::move(text), Told::Logged}; }
    // A failure a message box has already told the user.
    static Result Shown(std::string text) { return {std::move(text), Told::Shown}; }

    bool Ok() const { return !failed_; }
    explicit operator bool() const { return Ok(); }
    const std::string& Text() const { return text_; }
    bool WasLogged() const { return failed_ && told_ == Told::Logged; }
    bool WasShown() const { return failed_ && told_ == Told::Shown; }

    // What the job went on past (base/Warnings.h), whether it succeeded or not.
    const std::vector<std::string>& Warnings() const { return warnings_; }
    Result& WithWarnings(std::vector<std::string> warnings) {
        warnings_ = std::move(warnings);
        return *this;
    }

private:
    Result() = default;
    Result(std::string text, Told told) : failed_(true), told_(told), text_(std::move(text)) {}

    bool failed_ = false;
    Told told_ = Told::Nobody;
    std::string text_;
    std::vector<std::string> warnings_;
};

}  // namespace quillet
