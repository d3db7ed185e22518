#pragma once
// File, Export: the patch written into a new verdata.mul.
#include <string>

#include "base/FileLock.h"
#include "base/Result.h"
#include "formats/mVerdata.h"

namespace quillet {

// ExportVerdata into Directory under "Exporting to verdata. Please wait.".
// A failure that ExportVerdata told the user of in a message box (no blocks,
// no verdata.mul, a file it cannot open or create, a directory that another
// program writes into while wait is NoWait) answers as shown. What the
// export went on past (an old file's cut blocks) rides along as warnings.
// With MissingVerdata::Create a directory without a verdata.mul gets a new,
// empty one, which the export then fills (no backup is made of it).
Result ExportToVerdata(const std::string& Directory, LockWait wait = LockWait::Wait,
                       MissingVerdata missing = MissingVerdata::Tell);

// Whether an export into Directory would find no verdata.mul to write into
// while the patch has blocks to export: the question a front end asks before
// it exports with MissingVerdata::Create. An empty patch asks nothing, as its
// export ends with its own message before the file is looked for.
bool ExportNeedsNewVerdata(const std::string& Directory);

}  // namespace quillet
