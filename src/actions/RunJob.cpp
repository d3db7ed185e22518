#include "actions/RunJob.h"

#include "base/Warnings.h"
#include "base/cError.h"
#include "core/mWait.h"

namespace quillet {

Result RunJobBody(const std::string& waitText, const char* name, const std::function<bool()>& body) {
    FailureWatch watch;
    const WarningWatch warnings;
    if (!waitText.empty()) Wait_Start(waitText);
    bool ok = false;
    try {
        ok = body();
    } catch (...) {
        // The procedures catch their own failures; this is for anything else,
        // so that the wait still ends and the front end still hears of it.
        gError.Log(name);
    }
    if (!waitText.empty()) Wait_Stop();
    Result result = watch.Failed() ? Result::Logged(watch.First())
                    : ok           ? Result::Success()
                                   : Result::Failed(std::string(name) + " did not finish");
    return result.WithWarnings(warnings.Texts());
}

}  // namespace quillet
