#pragma once
// The patch store: for every FileID one slot per possible block. The bytes of
// the blocks live in the DataFile; a slot only says where.
#include <array>
#include <cstdint>
#include <string>

#include "core/SlotTable.h"
#include "core/mDatafile.h"
#include "core/mMuls.h"

namespace quillet {

struct PatchBlockSet {
    SlotTable Blocks;                // 0 .. NbrOfBlocks, or empty for unused rows
    int32_t Count = 0;               // slots whose Offset is not -1 (recounted, not kept)
};

extern std::array<PatchBlockSet, kFileIDs> PatchBlocks;
extern DatafileHandle DataFileHandle;
extern std::string DataFileName;

// Where a new patch puts its DataFile: empty means the current directory
// (the GUI); the CLI points it at the temporary directory.
extern std::string DataFileDirectory;

// The store of an empty patch: fresh slots, and a new hidden DataFile in
// DataFileDirectory (the leftovers of crashed runs there are deleted first).
// PatchNew adds the radar colours to this.
void NewPatchStore();
// Closes and deletes the DataFile.
void PatchDispose();

// ".abcdefgh.dat": a leading dot hides it, the 8 letters come from 'a'..'y'.
std::string NewDataFileName();

// Every slot absent again: the pages go, the sizes stay those of the types.
void CreatePatchStructures();

// Count of one type recomputed from its slots.
void RecountBlocks(int FileID);
// Count of every used type from 0 to 254.
void RecountAllBlocks();

// The writer's pattern: Size and Extra into the slot, then Offset 0 for an
// empty block or the DataFile position of its bytes. The slot access is
// bounds-checked (a failure, never a write outside the array).
void StoreBlock(int FileID, int32_t Block, int32_t Size, int32_t Extra, const uint8_t* data);
inline void StoreBlock(int FileID, int32_t Block, int32_t Size, int32_t Extra, const ByteArray& data) {
    StoreBlock(FileID, Block, Size, Extra, data.data());
}

// The same with the bytes taken from Source a piece at a time
// (Datafile_Append): a block that only passes through is never held whole.
void StoreBlockFrom(int FileID, int32_t Block, int32_t Size, int32_t Extra, ByteSource& Source);

// Checked slot access. The writable slot has its page allocated; a read
// through a const SlotTable (PatchBlocks[id].Blocks.at) allocates nothing.
PatchBlock& Slot(int FileID, int64_t Block);

// The bytes of a present block with data; empty for any other slot.
ByteArray ReadBlockBytes(int FileID, int32_t Block);

}  // namespace quillet
