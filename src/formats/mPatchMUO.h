#pragma once
// Moving blocks between a MUO file and the patch store.
#include <cstdint>
#include <string>

namespace quillet {

// Merges the blocks of a MUO file whose FileID and Block lie in the inclusive
// ranges into the open patch (the newest load wins). Sets InVerdata of every
// type met from the entries' bit 6. An empty name or a missing file loads
// nothing, silently, and answers true. The file is opened for reading only;
// one that cannot be read or is no MUO file (another version, a cut header,
// a client's container) is a failure that names the file and says why.
// Failures are logged as "mPatch.LoadMUO", end the load (the blocks stored
// so far stay, and Count is recomputed) and answer false. What the load went
// on past is told as warnings (base/Warnings.h): entries' bytes cut by the
// end of the file (read as zeros), entries the count promises and the file
// lacks, and a load that gave no block at all.
bool LoadMUO(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock);

// Writes the whole patch as a MUO file. The new file is built beside the old
// one and renamed into place only when complete: a failed save logs, answers
// false and leaves the old file as it was.
bool SaveMUO(const std::string& PatchFilename);

}  // namespace quillet
