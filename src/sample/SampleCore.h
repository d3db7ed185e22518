#pragma once
// What the sample writers share: a PRNG of our own (the standard
// distributions give other numbers on other library versions), the terrain
// that map, statics, art, tile data and radar colours agree on, and a
// buffered little-endian file writer that throws on failure.
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "sample/SampleClient.h"
#include "base/BinaryFile.h"
#include "base/ByteIO.h"

namespace quillet::sample::detail {

// splitmix64's finaliser: a good 64-bit mixer.
inline uint64_t Mix64(uint64_t z) {
    z += 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

// A hash of up to four numbers; distinct tags keep the streams apart.
inline uint64_t Hash(uint64_t a, uint64_t b = 0, uint64_t c = 0, uint64_t d = 0) {
    return Mix64(Mix64(Mix64(Mix64(a) ^ b) ^ c) ^ d);
}

// Stream tags, one per use, so that two uses of one seed do not correlate.
enum Tag : uint64_t {
    kTagHeight = 0x48454947,
    kTagCell,
    kTagStatics,
    kTagStaticsOdd,
    kTagMapHeader,
    kTagMapChange,
    kTagArt,
    kTagGump,
    kTagHues,
    kTagTiledata,
    kTagRadar,
    kTagPatch,
    kTagBulk,
    kTagAnimdata,
};

// splitmix64 as a generator.
class Rng {
public:
    explicit Rng(uint64_t seed) : state_(seed) {}
    uint64_t Next() {
        state_ += 0x9E3779B97F4A7C15ull;
        uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // 0 .. n-1 (n >= 1), by multiplication rather than modulo.
    uint32_t Below(uint32_t n) { return static_cast<uint32_t>(((Next() >> 32) * n) >> 32); }
    // lo .. hi inclusive.
    int32_t Range(int32_t lo, int32_t hi) {
        return lo + static_cast<int32_t>(Below(static_cast<uint32_t>(hi - lo + 1)));
    }
    bool Permille(int32_t p) { return static_cast<int32_t>(Below(1000)) < p; }

private:
    uint64_t state_;
};

// ---- Terrain

enum class Ground : uint8_t { Water, Sand, Grass, Forest, Dirt, Rock, Snow };
inline constexpr int kGroundKinds = 7;

struct GroundInfo {
    const char* name;
    uint16_t firstTile;  // 4 land tiles from here; the families start even, so tile ^ 1 stays inside
    uint16_t color555;   // radar colour of the family
};
const GroundInfo& GroundOf(Ground g);

// A family of static items that the terrain grows.
struct ItemFamily {
    const char* name;
    uint16_t firstItem;
    uint16_t count;
    uint16_t color555;
    uint8_t height;  // tile data height
};
inline constexpr int kItemFamilies = 6;
const ItemFamily& ItemFamilyAt(int index);

// Height 0..255 of the world at tile (tx, ty), smooth over a few blocks.
int32_t TerrainHeight(uint32_t seed, int32_t tx, int32_t ty);
Ground GroundAt(int32_t height);

// One map cell as the map file holds it.
struct Cell {
    uint16_t tile;
    int8_t z;
    Ground ground;
};
Cell CellAt(uint32_t seed, int32_t tx, int32_t ty);
// The 64 cells of a block, row by row: what CellAt gives, at a fraction of the cost.
void CellsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY, std::array<Cell, 64>& cells);

// The static items of a block, 7 bytes each, in cell order; empty if none.
ByteArray StaticsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY);
ByteArray StaticsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY, const std::array<Cell, 64>& cells);

// Land tile ids and item ids that the terrain uses.
bool IsTerrainTile(int32_t tile);
bool IsTerrainItem(int32_t item);

// ---- Block makers shared between the pair files and the patch files

// A hue group in the form that verdata.mul uses: 1220 bytes (8 hues of 152).
ByteArray HueGroupVerdataForm(uint32_t seed, int32_t group);
// One 88-byte hue of the client's hue file.
void MakeHue(uint32_t seed, int32_t hue, uint8_t* out);
// Tile data groups: 836 bytes for groups 0..511, 1188 bytes for 512..1023.
ByteArray TiledataGroup(uint32_t seed, int32_t group);
uint16_t RadarColor555(uint32_t seed, int32_t index);

// ---- Output

// Creates a new file and appends little-endian fields through a big buffer.
// A name that is taken (a file, a directory, a symbolic link even if it leads
// nowhere) is a failure: the generator never overwrites anything. Any failure
// throws a Failure naming the file; Finish flushes and closes, and must be
// called for the file to count as written.
class OutFile {
public:
    explicit OutFile(std::string path, size_t window = size_t{1} << 20);
    ~OutFile();
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    void U8(uint8_t v) { Bytes(&v, 1); }
    void U16(uint16_t v);
    void I32(int32_t v);
    void Bytes(const uint8_t* p, size_t n);
    void Bytes(const ByteArray& bytes) { Bytes(bytes.data(), bytes.size()); }
    void Text(std::string_view s);
    // Exactly width bytes: the text, cut or padded with 0 bytes.
    void FixedText(std::string_view s, size_t width);
    void Zeros(size_t n);
    // Skips n bytes: a hole that reads as zeros and takes no disk (the file
    // reaches past a hole at its end too).
    void Hole(int64_t n);
    int64_t Position() const { return writer_->Position(); }
    // A second appending writer over the same file, from start on (the verdata
    // index and its data area are written side by side).
    FileWriter& Second(int64_t start);
    void Finish();
    const std::string& Path() const { return path_; }

private:
    std::string path_;
    size_t window_;
    BinaryFile file_;
    std::unique_ptr<FileWriter> writer_;
    std::unique_ptr<FileWriter> second_;
};

void PutI32(FileWriter& w, int32_t v);

// Appends records to an index/data pair: data blocks back to back in the
// MUL file, their places in the IDX file.
class PairWriter {
public:
    PairWriter(const std::string& idxPath, const std::string& mulPath);
    void Add(const IdxRecord& record);
    // n records left as a hole of the IDX file: zeros, Size 0, no block.
    void Hole(int32_t n);
    IdxMulSummary Finish();

private:
    OutFile idx_;
    OutFile mul_;
    IdxMulSummary sum_;
};

// The map files and the statics pair of one world, made in one pass over the
// blocks. An empty path is not written.
struct WorldFiles {
    std::string map;
    std::string changedMap;  // the map with change applied
    std::string staidx;
    std::string statics;
};

// The writers without their failure path: they throw, and the public
// functions (one try each) log and answer.
void WritePair(const std::string& idxPath, const std::string& mulPath, int32_t records, const RecordSource& source,
               IdxMulSummary* summary);
void WriteWorld(const WorldFiles& files, int32_t blocksX, int32_t blocksY, uint32_t seed, const MapChange& change,
                IdxMulSummary* statics);
void WriteArtFiles(const std::string& idxPath, const std::string& mulPath, const ArtOptions& options,
                   IdxMulSummary* summary);
void WriteGumpFiles(const std::string& idxPath, const std::string& mulPath, const GumpOptions& options,
                    IdxMulSummary* summary);
void WriteHuesFile(const std::string& path, int32_t groups, uint32_t seed);
void WriteTiledataFile(const std::string& path, uint32_t seed);
void WriteRadarcolFile(const std::string& path, uint32_t seed);
void WriteHighSeasTiledataFile(const std::string& path, int32_t itemGroups, uint32_t seed);
void WriteAnimdataFile(const std::string& path, int32_t groups, uint32_t seed);
// The files of a current client into dir (made if missing), a whole map or a
// sparse one; answers their lines of the set's description.
std::string WriteCurrentFiles(const std::string& dir, bool full, uint32_t seed);
void WriteMUO(const std::string& path, int32_t count, const EntrySource& source);
void WriteUOP(const std::string& path, int32_t version, int32_t count, const EntrySource& source);
void WriteVerdata(const std::string& path, int32_t count, const EntrySource& source);

// Runs work; a failure is logged under proc and its text goes to *error.
bool Guarded(const char* proc, std::string* error, const std::function<void()>& work);

}  // namespace quillet::sample::detail
