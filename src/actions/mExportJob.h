#pragma once
// File, Export: the patch written into a new verdata.mul.
#include <string>

#include "base/FileLock.h"
#include "base/Result.h"

namespace quillet {

// ExportVerdata into Directory under "Exporting to verdata. Please wait.".
// A failure that ExportVerdata told the user of in a message box (no blocks,
// no verdata.mul, a file it cannot open or create, a directory that another
// program writes into while wait is NoWait) answers as shown. What the
// export went on past (an old file's cut blocks) rides along as warnings.
Result ExportToVerdata(const std::string& Directory, LockWait wait = LockWait::Wait);

}  // namespace quillet
