#pragma once
// Small pieces the command groups share: a block named on the command line
// and the patch's answer about it.
#include <cstdint>
#include <optional>
#include <string>

#include "base/Result.h"
#include "cli/Args.h"

namespace quillet::cli {

// --block N of the type: a number within the type's blocks (a UsageError otherwise).
int32_t ParseBlockOf(const ParsedArgs& args, int FileID);

// "Art block 26 (0x1A)": how messages name a block.
std::string BlockName(int FileID, int32_t Block);

// A CommandError unless path names a regular file that can be read.
void RequireReadableFile(const std::string& path);

// The index file of a type read from the client's files (import --type,
// compare): required for a type found through an index, a usage error for a
// type of fixed block size or a client's UOP container given as MULFile,
// which have none (then nothing is answered).
std::optional<std::string> ClientIndexOption(const ParsedArgs& args, const std::string& option, int FileID,
                                             const std::string& MULFile);

// --radarcol F of the commands that draw map blocks (render, picture),
// checked before the patch is opened: a CommandError unless F is a regular
// file that can be read.
std::optional<std::string> RadarcolOption(const ParsedArgs& args);
// Loads the radar colours of that file, else of the client's radarcol.mul,
// as the GUI's patch start does; when the client has none, a warning says
// that every block is drawn black.
Result LoadRadarColours(const std::optional<std::string>& radarcol);

// A CommandError unless the block is in the patch.
void RequirePresent(int FileID, int32_t Block);
// A CommandError unless the block is in the patch and has bytes.
void RequireBytes(int FileID, int32_t Block);

}  // namespace quillet::cli
