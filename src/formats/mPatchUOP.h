#pragma once
// Importing a UOP patch file into the patch store.
#include <cstdint>
#include <string>

namespace quillet {

// Merges the blocks of a UOP file whose FileID and Block lie in the inclusive
// ranges into the open patch (the newest load wins). Leaves InVerdata alone.
// An empty name or a missing file loads nothing, silently, and answers true.
// The file is opened for reading only; one that cannot be read or is no UOP
// patch file this program reads (another version, a client's container) is
// a failure that names the file and says why. Failures are logged as
// "mPatch.LoadUOP", end the load (the blocks stored so far stay, and Count
// is recomputed) and answer false. What the load went on past is told as
// warnings, as LoadMUO tells them.
bool LoadUOP(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock);

}  // namespace quillet
