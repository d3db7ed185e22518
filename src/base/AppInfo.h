#pragma once
// Who the program is and where it lives.
#include <string>

namespace quillet {

// The application's title: window captions, message box titles, the name of
// the log file and of the settings store.
inline constexpr const char* kAppTitle = "Quillet Patching Tool";

// True only in a developer's build made with QUILLET_IDE: failures are then
// thrown to the debugger instead of logged.
#ifdef QUILLET_IDE
inline constexpr bool kIsIDE = true;
#else
inline constexpr bool kIsIDE = false;
#endif

// The directory of the running program, ending in '/' ("" if it cannot be
// told): the base of the log, verdata.mul and the dat folders.
std::string ProgramDirectory();

}  // namespace quillet
