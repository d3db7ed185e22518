#pragma once
// Small pieces the command groups share: a block named on the command line
// and the patch's answer about it.
#include <cstdint>
#include <string>

#include "cli/Args.h"

namespace quillet::cli {

// --block N of the type: a number within the type's blocks (a UsageError otherwise).
int32_t ParseBlockOf(const ParsedArgs& args, int FileID);

// "Art block 26 (0x1A)": how messages name a block.
std::string BlockName(int FileID, int32_t Block);

// A CommandError unless the block is in the patch.
void RequirePresent(int FileID, int32_t Block);
// A CommandError unless the block is in the patch and has bytes.
void RequireBytes(int FileID, int32_t Block);

}  // namespace quillet::cli
