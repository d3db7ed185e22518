#pragma once
// What a front end with message boxes tells the user after a job: one
// message, with the warning icon, holding the failure that nobody has told
// the user of yet and every warning the job gave (base/Warnings.h).
#include <string>

#include "base/Result.h"

namespace quillet {

// The message's text, its parts on lines of their own ("\r\n"): a logged
// failure by its description (the log keeps the procedure's name), then the
// warnings in the order given. Empty when
// there is nothing to tell: a success without warnings, or a failure that a
// message box has shown already and no warnings.
std::string OutcomeMessage(const Result& result);

// Shows OutcomeMessage through MsgBoxWarning when it is not empty; answers
// whether the job succeeded.
bool TellOutcome(const Result& result);

}  // namespace quillet
