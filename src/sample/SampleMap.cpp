// The map and its statics: one world from TerrainHeight, streamed block by
// block in the client's column order (Block = X * blocksY + Y).
#include <array>
#include <memory>

#include "base/Checked.h"
#include "sample/SampleClient.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

void CheckGrid(int32_t blocksX, int32_t blocksY) {
    if (blocksX < 1 || blocksY < 1) Fail("A map needs at least one block in each direction");
    ToLong(int64_t{blocksX} * blocksY);  // every block needs a 32-bit number
}

void MapBlockOf(uint32_t seed, int32_t block, const std::array<Cell, 64>& cells, uint8_t* out) {
    // The client leaves the header to its tools; ours is a fingerprint of the block.
    StoreI32(out, static_cast<int32_t>(Hash(seed, kTagMapHeader, static_cast<uint32_t>(block))));
    uint8_t* cell = out + 4;
    for (const Cell& c : cells) {
        StoreI16(cell, static_cast<int16_t>(c.tile));
        cell[2] = static_cast<uint8_t>(c.z);
        cell += 3;
    }
}

void ApplyChange(const MapChange& change, int32_t block, uint8_t* out) {
    if (!MapBlockChanged(change, block)) return;
    // Another tile of the same ground (families start even) one step up or down.
    const uint64_t pick = Hash(change.seed, kTagMapChange, static_cast<uint32_t>(block)) >> 32;
    uint8_t* altered = out + 4 + 3 * (pick & 63);
    altered[0] ^= 1;
    altered[2] ^= 1;
}

}  // namespace

bool MapBlockChanged(const MapChange& change, int32_t block) {
    if (change.permille <= 0) return false;
    return static_cast<int32_t>(Hash(change.seed, kTagMapChange, static_cast<uint32_t>(block)) % 1000) <
           change.permille;
}

void MakeMapBlock(uint32_t seed, int32_t blocksY, int32_t block, const MapChange* change, uint8_t* out) {
    std::array<Cell, 64> cells;
    CellsOfBlock(seed, block / blocksY, block % blocksY, cells);
    MapBlockOf(seed, block, cells, out);
    if (change) ApplyChange(*change, block, out);
}

void detail::WriteWorld(const WorldFiles& files, int32_t blocksX, int32_t blocksY, uint32_t seed,
                        const MapChange& change, IdxMulSummary* statics) {
    CheckGrid(blocksX, blocksY);
    std::unique_ptr<OutFile> map, changed;
    std::unique_ptr<PairWriter> pair;
    if (!files.map.empty()) map = std::make_unique<OutFile>(files.map);
    if (!files.changedMap.empty()) changed = std::make_unique<OutFile>(files.changedMap);
    if (!files.staidx.empty()) pair = std::make_unique<PairWriter>(files.staidx, files.statics);
    std::array<Cell, 64> cells;
    std::array<uint8_t, kMapBlockSize> block{};
    IdxRecord record;
    const int32_t total = blocksX * blocksY;
    for (int32_t n = 0; n < total; ++n) {
        const int32_t x = n / blocksY, y = n % blocksY;
        CellsOfBlock(seed, x, y, cells);
        if (map || changed) MapBlockOf(seed, n, cells, block.data());
        if (map) map->Bytes(block.data(), block.size());
        if (changed) {
            ApplyChange(change, n, block.data());
            changed->Bytes(block.data(), block.size());
        }
        if (pair) {
            record.bytes = StaticsOfBlock(seed, x, y, cells);
            if (!record.bytes.empty()) {
                record.kind = IdxRecord::Kind::Data;
            } else {
                // Some index tools leave a record of Size 0 for a block
                // without items: the program must take it as empty too.
                const bool zero = Hash(seed, kTagStaticsOdd, static_cast<uint32_t>(n)) % 64 == 0;
                record.kind = zero ? IdxRecord::Kind::ZeroSize : IdxRecord::Kind::Empty;
            }
            pair->Add(record);
        }
    }
    if (map) map->Finish();
    if (changed) changed->Finish();
    if (pair) {
        IdxMulSummary sum = pair->Finish();
        if (statics) *statics = std::move(sum);
    }
}

bool WriteMap(const std::string& path, int32_t blocksX, int32_t blocksY, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteMap", error, [&] {
        WriteWorld({path, "", "", ""}, blocksX, blocksY, seed, {}, nullptr);
    });
}

bool WriteChangedMap(const std::string& path, int32_t blocksX, int32_t blocksY, uint32_t seed, const MapChange& change,
                     std::string* error) {
    return Guarded("SampleClient.WriteChangedMap", error, [&] {
        WriteWorld({"", path, "", ""}, blocksX, blocksY, seed, change, nullptr);
    });
}

ByteArray StaticsBlock(uint32_t seed, int32_t blockX, int32_t blockY) { return StaticsOfBlock(seed, blockX, blockY); }

bool WriteStatics(const std::string& idxPath, const std::string& mulPath, int32_t blocksX, int32_t blocksY,
                  uint32_t seed, IdxMulSummary* summary, std::string* error) {
    return Guarded("SampleClient.WriteStatics", error, [&] {
        WriteWorld({"", "", idxPath, mulPath}, blocksX, blocksY, seed, {}, summary);
    });
}

}  // namespace quillet::sample
