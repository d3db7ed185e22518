// Patch files: the entries of the set's patch, bulk entries for benchmarks,
// and writers of MUO, UOP (versions 4 and 5) and verdata.mul that set every
// byte themselves, so that the library's readers can be checked against them.
#include <algorithm>
#include <array>

#include "base/AppInfo.h"
#include "base/Checked.h"
#include "sample/SampleClient.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

struct TypeRange {
    int32_t FileID;
    int32_t NbrOfBlocks;
    int32_t weight;  // share in a bulk patch, in 100
};

// The types that the generator makes blocks for, with their highest block.
constexpr std::array<TypeRange, 11> kTypes{{
    {0, 393215, 30},  // Map
    {2, 393215, 18},  // Statics
    {4, 65536, 20},   // Art
    {8, 255, 3},      // Sound
    {10, 4095, 5},    // Texmaps
    {12, 65535, 6},   // Gumps
    {14, 8182, 4},    // Multis
    {30, 1023, 5},    // Tiledata
    {32, 374, 4},     // Hues
    {128, 99, 3},     // Light
    {129, 65535, 2},  // Radarcol
}};

constexpr uint32_t kPatchVariant = 0xA5A5A5A5u;  // patch blocks are other versions of the client's

ByteArray LightBlock(Rng& rng, int32_t& extra) {
    const int32_t width = rng.Range(8, 32), height = rng.Range(8, 32);
    extra = GumpExtra(width, height);
    ByteArray out(static_cast<size_t>(width * height));
    // Brightest in the middle, fading to the edges.
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const int32_t dx = std::abs(2 * x + 1 - width) * 31 / width;
            const int32_t dy = std::abs(2 * y + 1 - height) * 31 / height;
            out[static_cast<size_t>(y * width + x)] = static_cast<uint8_t>(std::max(0, 31 - std::max(dx, dy)));
        }
    return out;
}

ByteArray SoundBlock(Rng& rng, int32_t block) {
    ByteArray out;
    LeWriter w(out);
    const std::string name = "sound" + std::to_string(block) + ".wav";
    w.Bytes(name);
    w.Zeros(32 - std::min<size_t>(name.size(), 32));
    const int32_t samples = rng.Range(200, 2000), period = rng.Range(20, 120);
    for (int32_t n = 0; n < samples; ++n) {  // a triangle wave
        const int32_t phase = n % period;
        const int32_t level = (phase < period / 2 ? phase : period - phase) * 2 * 16000 / period - 8000;
        w.I16(static_cast<int16_t>(level));
    }
    return out;
}

ByteArray MultiBlock(Rng& rng) {
    ByteArray out;
    LeWriter w(out);
    const int32_t parts = rng.Range(1, 40);
    for (int32_t n = 0; n < parts; ++n) {
        w.U16(static_cast<uint16_t>(rng.Range(0x0040, 0x0400)));  // item
        w.I16(static_cast<int16_t>(rng.Range(-7, 7)));            // x
        w.I16(static_cast<int16_t>(rng.Range(-7, 7)));            // y
        w.I16(static_cast<int16_t>(rng.Range(0, 20)));            // z
        w.I32(1);                                                 // visible
    }
    return out;
}

// The bytes and Extra of one block of a type, as a patch would carry them.
void MakeBlock(int32_t fileID, int32_t block, uint32_t seed, PatchEntry& e) {
    Rng rng(Hash(seed, kTagPatch, static_cast<uint32_t>(fileID), static_cast<uint32_t>(block)));
    e.FileID = fileID;
    e.Block = block;
    e.Extra = 0;
    e.data.clear();
    switch (fileID) {
        case 0: {
            // The block of the same world with every cell's change applied.
            const MapChange change{seed ^ kPatchVariant, 1000};
            e.data.resize(kMapBlockSize);
            MakeMapBlock(seed, kMapRows, block, &change, e.data.data());
            e.Extra = -1;
            break;
        }
        case 2: {
            e.data = StaticsOfBlock(seed, block / kMapRows, block % kMapRows);
            LeWriter w(e.data);  // one item more than the client's block
            w.U16(static_cast<uint16_t>(ItemFamilyAt(0).firstItem + rng.Below(ItemFamilyAt(0).count)));
            w.U8(static_cast<uint8_t>(rng.Below(8)));
            w.U8(static_cast<uint8_t>(rng.Below(8)));
            w.U8(static_cast<uint8_t>(rng.Range(0, 40)));
            w.U16(0);
            break;
        }
        case 4:
            e.data = block < 0x4000 ? MakeLandArt(seed ^ kPatchVariant, block)
                                    : MakeStaticArt(seed ^ kPatchVariant, block - 0x4000);
            break;
        case 8:
            e.data = SoundBlock(rng, block);
            break;
        case 10: {
            e.data.resize(64 * 64 * 2);
            for (size_t at = 0; at < e.data.size(); at += 2)
                StoreI16(e.data.data() + at, static_cast<int16_t>(rng.Below(0x8000)));
            break;
        }
        case 12: {
            const int32_t width = rng.Range(8, 96), height = rng.Range(8, 96);
            e.Extra = GumpExtra(width, height);
            e.data = MakeGumpBlock(width, height, static_cast<uint32_t>(rng.Next()));
            break;
        }
        case 14:
            e.data = MultiBlock(rng);
            break;
        case 30:
            e.data = TiledataGroup(seed ^ kPatchVariant, block);
            e.Extra = -1;
            break;
        case 32:
            e.data = HueGroupVerdataForm(seed ^ kPatchVariant, block);
            e.Extra = -1;
            break;
        case 128:
            e.data = LightBlock(rng, e.Extra);
            break;
        case 129: {
            e.data.resize(2);
            StoreI16(e.data.data(), static_cast<int16_t>(rng.Below(0x8000)));
            e.Extra = -1;
            break;
        }
        default:
            Fail("No sample blocks for FileID " + std::to_string(fileID));
    }
    e.Size = ToLong(static_cast<int64_t>(e.data.size()));
}

void Empty(PatchEntry& e, int32_t size) {
    e.Size = size;
    e.data.clear();
}

// Entry of a bulk patch, with the seed of its bytes (a duplicate remakes them from another).
uint32_t BulkPick(uint32_t seed, int32_t index, int32_t& fileID, int32_t& block) {
    Rng rng(Hash(seed, kTagBulk, static_cast<uint32_t>(index)));
    int32_t roll = static_cast<int32_t>(rng.Below(100));
    const TypeRange* type = &kTypes.back();
    for (const TypeRange& t : kTypes) {
        if (roll < t.weight) {
            type = &t;
            break;
        }
        roll -= t.weight;
    }
    fileID = type->FileID;
    block = rng.Range(0, type->NbrOfBlocks);
    return static_cast<uint32_t>(rng.Next());
}

void CheckData(const PatchEntry& e) {
    if (e.Size > 0 && e.data.size() != static_cast<size_t>(e.Size))
        Fail("An entry of Size " + std::to_string(e.Size) + " with " + std::to_string(e.data.size()) + " bytes");
}

EntrySource FromVector(const std::vector<PatchEntry>& entries) {
    return [&entries](int32_t n, PatchEntry& e) { e = entries[static_cast<size_t>(n)]; };
}

int32_t CountOf(const std::vector<PatchEntry>& entries) { return ToLong(static_cast<int64_t>(entries.size())); }

}  // namespace

int32_t MUOFileID(int32_t FileID) {
    const bool inVerdataOff = FileID == 0 || FileID == 2 || FileID == 128 || FileID == 129;
    return inVerdataOff ? FileID | 64 : FileID;
}

std::vector<PatchEntry> SamplePatchEntries(uint32_t seed) {
    std::vector<PatchEntry> list;
    auto add = [&](int32_t fileID, int32_t block) -> PatchEntry& {
        list.emplace_back();
        MakeBlock(fileID, block, seed, list.back());
        return list.back();
    };
    add(0, 0);
    add(0, 513);     // pixel (1, 1) of the map overview
    add(0, 393215);  // the last block of the grid
    add(2, 1);
    Empty(add(2, 2), 0);
    add(4, 3);
    add(4, 0x4000 + ItemFamilyAt(0).firstItem);
    add(4, 65536);  // Art's highest block number
    Empty(add(4, 7), -1);
    add(8, 1);
    add(10, 4);
    add(12, 0x100);
    add(12, 65535);
    add(14, 2);
    add(30, 5);    // a land tile group: 836 bytes
    add(30, 600);  // a static tile group: 1188 bytes
    add(32, 3);
    add(128, 1);
    add(129, GroundOf(Ground::Water).firstTile);
    // Later entries of a block already given: they win on loading.
    MakeBlock(0, 513, seed + 1, list.emplace_back());
    MakeBlock(4, 3, seed + 1, list.emplace_back());
    return list;
}

void BulkEntry(uint32_t seed, int32_t index, PatchEntry& entry) {
    int32_t fileID = 0, block = 0;
    const uint32_t dataSeed = BulkPick(seed, index, fileID, block);
    MakeBlock(fileID, block, dataSeed, entry);
}

void SampleVerdataEntry(uint32_t seed, int32_t count, int32_t index, PatchEntry& entry) {
    if (index == count - 1 && count >= 4) {
        int32_t fileID = 0, block = 0;
        const uint32_t dataSeed = BulkPick(seed, 0, fileID, block);
        MakeBlock(fileID, block, dataSeed + 1, entry);
        return;
    }
    BulkEntry(seed, index, entry);
    if (index == 1) Empty(entry, -1);
    if (index == 2) Empty(entry, 0);
}

bool WriteMUOFile(const std::string& path, int32_t count, const EntrySource& source, std::string* error) {
    return Guarded("SampleClient.WriteMUOFile", error, [&] { WriteMUO(path, count, source); });
}

void detail::WriteMUO(const std::string& path, int32_t count, const EntrySource& source) {
    if (count < 0) Fail("A negative number of entries");
    OutFile out(path);
    out.Text("MUOP");
    out.I32(1);
    for (const char* text : {"MUO", "Created by Quillet", "Sir Patch"}) {
        out.Text(text);
        out.U8(0);
    }
    out.I32(count);
    PatchEntry e;
    for (int32_t n = 0; n < count; ++n) {
        e.data.clear();
        source(n, e);
        CheckData(e);
        out.I32(e.FileID);
        out.I32(e.Block);
        out.I32(e.Extra);
        out.I32(e.Size);
        if (e.Size > 0) out.Bytes(e.data);
    }
    out.Finish();
}

bool WriteMUOFile(const std::string& path, const std::vector<PatchEntry>& entries, std::string* error) {
    return WriteMUOFile(path, CountOf(entries), FromVector(entries), error);
}

bool WriteUOPFile(const std::string& path, int32_t version, int32_t count, const EntrySource& source,
                  std::string* error) {
    return Guarded("SampleClient.WriteUOPFile", error, [&] { WriteUOP(path, version, count, source); });
}

void detail::WriteUOP(const std::string& path, int32_t version, int32_t count, const EntrySource& source) {
    if (version != 4 && version != 5) Fail("UOP files have version 4 or 5, not " + std::to_string(version));
    if (count < 0) Fail("A negative number of entries");
    OutFile out(path);
    out.Text("UOP");
    out.U8(static_cast<uint8_t>(version));
    out.I32(count);
    out.I32(0);
    if (version == 5) out.FixedText(kAppTitle, 10);  // the tool's name, cut to 10
    PatchEntry e;
    for (int32_t n = 0; n < count; ++n) {
        e.data.clear();
        source(n, e);
        CheckData(e);
        out.U8(ToByte(e.FileID));
        out.I32(e.Block);
        out.I32(e.Size);
        out.I32(e.Extra);
        if (e.Size > 0) out.Bytes(e.data);
    }
    out.Finish();
}

bool WriteUOPFile(const std::string& path, int32_t version, const std::vector<PatchEntry>& entries,
                  std::string* error) {
    return WriteUOPFile(path, version, CountOf(entries), FromVector(entries), error);
}

bool WriteVerdataFile(const std::string& path, int32_t count, const EntrySource& source, std::string* error) {
    return Guarded("SampleClient.WriteVerdataFile", error, [&] { WriteVerdata(path, count, source); });
}

void detail::WriteVerdata(const std::string& path, int32_t count, const EntrySource& source) {
    if (count < 0) Fail("A negative number of entries");
    OutFile out(path);
    // The index is written in front, the data behind it at the same time.
    FileWriter& data = out.Second(4 + 20 * int64_t{count});
    out.I32(count);
    PatchEntry e;
    for (int32_t n = 0; n < count; ++n) {
        e.data.clear();
        source(n, e);
        CheckData(e);
        out.I32(e.FileID);
        out.I32(e.Block);
        out.I32(e.Size > 0 ? ToLong(data.Position()) : 0);
        out.I32(e.Size);
        out.I32(e.Extra);
        if (e.Size > 0) data.Write(e.data.data(), e.data.size());
    }
    out.Finish();
}

bool WriteVerdataFile(const std::string& path, const std::vector<PatchEntry>& entries, std::string* error) {
    return WriteVerdataFile(path, CountOf(entries), FromVector(entries), error);
}

bool WriteSampleVerdata(const std::string& path, int32_t count, uint32_t seed, std::string* error) {
    return WriteVerdataFile(
        path, count, [&](int32_t n, PatchEntry& e) { SampleVerdataEntry(seed, count, n, e); }, error);
}

}  // namespace quillet::sample
