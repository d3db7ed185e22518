#pragma once
// Importing a UOP patch file into the patch store.
#include <cstdint>
#include <string>

namespace quillet {

// Merges the blocks of a UOP file whose FileID and Block lie in the inclusive
// ranges into the open patch (the newest load wins). Leaves InVerdata alone.
// Failures are logged as "mPatch.LoadUOP" and end the load.
void LoadUOP(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock);

}  // namespace quillet
