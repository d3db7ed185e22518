#pragma once
// Moving blocks between a MUO file and the patch store.
#include <cstdint>
#include <string>

namespace quillet {

// Merges the blocks of a MUO file whose FileID and Block lie in the inclusive
// ranges into the open patch (the newest load wins). Sets InVerdata of every
// type met from the entries' bit 6. An empty name, a missing file or one that
// cMUO cannot open (another version, a cut header, a file that cannot be
// opened for writing) loads nothing, silently, and answers true. Other
// failures are logged as "mPatch.LoadMUO", end the load (the blocks stored
// so far stay) and answer false.
bool LoadMUO(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock);

// Writes the whole patch as a MUO file. The new file is built beside the old
// one and renamed into place only when complete: a failed save logs, answers
// false and leaves the old file as it was.
bool SaveMUO(const std::string& PatchFilename);

}  // namespace quillet
