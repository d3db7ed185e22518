#pragma once
// The frame every job runs in: its wait text, a watch on the failure log, and
// one answer for the front end.
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include "base/Result.h"

namespace quillet {

// Runs body between Wait_Start(waitText) and Wait_Stop() (no wait for an
// empty text). The answer is the first failure logged meanwhile, by body or
// anything it called; else a failure if body answered false; else success.
// Warnings given meanwhile ride along with the answer.
// Anything body throws is logged under name and ends it.
Result RunJobBody(const std::string& waitText, const char* name, const std::function<bool()>& body);

// The same for a body that answers a bool or nothing.
template <class Body>
Result RunJob(const std::string& waitText, const char* name, Body&& body) {
    return RunJobBody(waitText, name, [&body]() -> bool {
        if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
            body();
            return true;
        } else {
            return static_cast<bool>(body());
        }
    });
}

}  // namespace quillet
