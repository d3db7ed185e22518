#include "core/mPatch.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <random>
#include <utility>

#include "base/cError.h"

namespace quillet {

std::array<PatchBlockSet, kFileIDs> PatchBlocks;
DatafileHandle DataFileHandle;
std::string DataFileName;
std::string DataFileDirectory;

namespace {

SlotTable& SlotsOf(int FileID) {
    if (FileID < 0 || FileID >= kFileIDs) Fail(kSubscript);
    return PatchBlocks[static_cast<size_t>(FileID)].Blocks;
}

}  // namespace

std::string NewDataFileName() {
    std::mt19937 generator(static_cast<std::mt19937::result_type>(
        std::chrono::high_resolution_clock::now().time_since_epoch().count()));
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::string name = ".";
    for (int i = 0; i < 8; ++i) name += static_cast<char>(static_cast<int>(std::floor(uniform(generator) * 25)) + 97);
    return name + ".dat";
}

void NewPatchStore() {
    CreatePatchStructures();
    // What crashed runs left behind goes before this run adds its own.
    RemoveStaleDatafiles(DataFileDirectory);
    DataFileName = NewDataFileName();
    if (!DataFileDirectory.empty())
        DataFileName = DataFileDirectory + (DataFileDirectory.back() == '/' ? "" : "/") + DataFileName;
    Datafile_Create(DataFileHandle, DataFileName);
}

void PatchDispose() {
    Datafile_Close(DataFileHandle);
    if (!DataFileName.empty()) ::unlink(DataFileName.c_str());
}

void CreatePatchStructures() {
    try {
        for (int id = 0; id < kFileIDs; ++id) {
            const int32_t last = FileTypes[id].NbrOfBlocks;
            PatchBlockSet& set = PatchBlocks[id];
            set.Blocks.clear();
            if (last > 0) set.Blocks.resize(static_cast<size_t>(last) + 1);
            set.Count = 0;
        }
    } catch (...) {
        gError.Log("mPatch.CreatePatchStructures");
    }
}

void RecountBlocks(int FileID) {
    PatchBlockSet& set = PatchBlocks.at(static_cast<size_t>(FileID));
    const SlotTable& slots = set.Blocks;
    int32_t count = 0;
    for (size_t block = slots.NextAllocated(0); block < slots.size(); block = slots.NextAllocated(block + 1))
        if (slots[block].Offset != -1) ++count;
    set.Count = count;
}

void RecountAllBlocks() {
    for (int id = 0; id <= 254; ++id)
        if (!FileTypes[id].Name.empty()) RecountBlocks(id);
}

PatchBlock& Slot(int FileID, int64_t Block) { return SlotsOf(FileID).at(Block); }

void StoreBlock(int FileID, int32_t Block, int32_t Size, int32_t Extra, const uint8_t* data) {
    PatchBlock& slot = Slot(FileID, Block);
    // The bytes go first, so a failed write leaves the slot as it was.
    const int32_t offset = Size < 1 ? 0 : Datafile_Write(DataFileHandle, data, static_cast<size_t>(Size));
    slot.Size = Size;
    slot.Extra = Extra;
    slot.Offset = offset;
}

void StoreBlockFrom(int FileID, int32_t Block, int32_t Size, int32_t Extra, ByteSource& Source) {
    PatchBlock& slot = Slot(FileID, Block);
    // The bytes go first, so a failed write leaves the slot as it was.
    const int32_t offset = Size < 1 ? 0 : Datafile_Append(DataFileHandle, Source, Size);
    slot.Size = Size;
    slot.Extra = Extra;
    slot.Offset = offset;
}

ByteArray ReadBlockBytes(int FileID, int32_t Block) {
    ByteArray bytes;
    const PatchBlock& slot = std::as_const(SlotsOf(FileID)).at(Block);
    if (slot.Offset >= 1 && slot.Size >= 1) Datafile_Read(DataFileHandle, slot.Offset, slot.Size, bytes);
    return bytes;
}

}  // namespace quillet
