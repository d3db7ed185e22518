#pragma once
// Where a Wine prefix keeps things on this system: the user's prefix, and the
// folder that a Windows path of a program inside the prefix stands for.
#include <string>

namespace quillet {

// $WINEPREFIX, else ~/.wine (the home from $HOME, else the password
// database), without a closing '/'; "" when there is no home either.
std::string DefaultWinePrefix();
// A Windows path ("C:\Program Files\...") in the drive folders of prefix:
// the drive through dosdevices/x: (or drive_c), each further name matched
// without regard to case when the exact one is not there, '\' as '/'. The
// long-path and native heads ("\\?\", "\??\") are dropped. A path without a
// drive letter only has its separators turned. A closing separator stays.
std::string WindowsToUnixPath(const std::string& prefix, const std::string& windowsPath);

}  // namespace quillet
