#include "core/BlockRows.h"

#include <charconv>

#include "core/mWait.h"

namespace quillet {

std::string HexText(uint64_t value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char text[16];
    size_t n = 0;
    do {
        text[sizeof text - 1 - n++] = kDigits[value & 15];
        value >>= 4;
    } while (value != 0);
    return std::string(text + sizeof text - n, n);
}

BlockRow MakeBlockRow(int32_t Block, const PatchBlock& slot) {
    BlockRow row;
    row.Key = BlockRowKey(Block);
    row.ID = HexText(static_cast<uint32_t>(Block));
    row.Size = slot.Size == -1 ? "0" : std::to_string(slot.Size);
    // A negative Extra is shown as the 32-bit pattern it is (FFFFFFFF for -1).
    row.Flags = HexText(static_cast<uint32_t>(slot.Extra));
    return row;
}

std::string BlockRowKey(int32_t Block) { return std::string(1, 'A').append(std::to_string(Block)); }

int32_t BlockFromRowKey(const std::string& key) {
    if (key.size() < 2) return -1;
    int32_t block = -1;
    const char* first = key.data() + 1;
    const char* last = key.data() + key.size();
    const auto [end, error] = std::from_chars(first, last, block);
    if (error != std::errc() || end != last || block < 0) return -1;
    return block;
}

std::vector<int32_t> ListedBlocks(int FileID) {
    std::vector<int32_t> blocks;
    if (FileID < 0 || FileID >= kFileIDs) return blocks;
    const auto& slots = PatchBlocks[static_cast<size_t>(FileID)].Blocks;
    CountingPoint progress(FileTypes[static_cast<size_t>(FileID)].NbrOfBlocks);
    for (size_t block = slots.NextAllocated(0); block < slots.size(); block = slots.NextAllocated(block + 1)) {
        if (slots[block].Offset == -1) continue;
        blocks.push_back(static_cast<int32_t>(block));
        progress.Tick(static_cast<int64_t>(block));
    }
    return blocks;
}

std::string DatFileName(int FileID, int32_t Block) {
    return HexText(static_cast<uint32_t>(FileID)) + "_" + HexText(static_cast<uint32_t>(Block)) + ".dat";
}

}  // namespace quillet
