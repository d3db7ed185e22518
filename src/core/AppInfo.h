#pragma once

namespace quillet {

// The application's title: window captions, message box titles, the name of
// the log file and of the settings store.
inline constexpr const char* kAppTitle = "Quillet Patching Tool";

}  // namespace quillet
