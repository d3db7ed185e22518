#pragma once
// File, Export: the patch written into a new verdata.mul.
#include <string>

#include "base/Result.h"

namespace quillet {

// ExportVerdata into Directory under "Exporting to verdata. Please wait.".
// A failure that ExportVerdata told the user of in a message box (no blocks,
// no verdata.mul, a file it cannot open or create) answers as shown.
Result ExportToVerdata(const std::string& Directory);

}  // namespace quillet
