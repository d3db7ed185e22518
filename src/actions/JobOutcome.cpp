#include "actions/JobOutcome.h"

#include "core/mWait.h"

namespace quillet {

std::string OutcomeMessage(const Result& result) {
    std::string text;
    if (!result.Ok() && !result.WasShown()) {
        text = result.Text();
        // A logged failure is "Proc: description"; the procedure's name is
        // for the log, the description for the user.
        if (const size_t colon = text.find(": "); result.WasLogged() && colon != std::string::npos)
            text.erase(0, colon + 2);
    }
    for (const std::string& warning : result.Warnings()) text += (text.empty() ? "" : "\r\n") + warning;
    return text;
}

bool TellOutcome(const Result& result) {
    if (const std::string text = OutcomeMessage(result); !text.empty()) MsgBoxWarning(text);
    return result.Ok();
}

}  // namespace quillet
