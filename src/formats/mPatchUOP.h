#pragma once
// Importing a UOP patch file into the patch store.
#include <cstdint>
#include <string>

namespace quillet {

// Merges the blocks of a UOP file whose FileID and Block lie in the inclusive
// ranges into the open patch (the newest load wins). Leaves InVerdata alone.
// An empty name, a missing file or one that cUOP cannot open (another
// version, a file that cannot be opened for writing) loads nothing, silently,
// and answers true. Other failures are logged as "mPatch.LoadUOP", end the
// load (the blocks stored so far stay) and answer false.
bool LoadUOP(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock);

}  // namespace quillet
