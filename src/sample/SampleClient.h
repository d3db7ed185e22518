#pragma once
// A deterministic synthetic client data set for tests, benchmarks and demos.
//
// Every byte depends on the arguments and the seed alone: the generator has
// its own PRNG, so the same call writes the same files on every machine and
// library version. Large files are streamed through a buffer; nothing holds a
// whole map in memory.
//
// Besides the whole set, the building blocks are public so that a test or a
// benchmark can make exactly the file it needs. Each answers false with a
// reason in *error (which may be null) and logs the failure.
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/ByteIO.h"

namespace quillet::sample {

// The client's map grid: 768 columns of 512 blocks, Block = X * 512 + Y.
inline constexpr int32_t kMapColumns = 768;
inline constexpr int32_t kMapRows = 512;
inline constexpr int32_t kMapBlockSize = 196;
// The small set keeps the real column height of 512 blocks but only the
// first 64 columns, so a block number means the same place as in a full map.
inline constexpr int32_t kSmallMapColumns = 64;
inline constexpr int32_t kStaticRecordSize = 7;
inline constexpr int32_t kHueGroups = 375;  // the Hues type's 375 blocks
inline constexpr int32_t kHueGroupSize = 708;
inline constexpr int32_t kHueVerdataSize = 1220;  // a hue group as verdata.mul holds it
inline constexpr int32_t kLandGroupSize = 836;
inline constexpr int32_t kStaticGroupSize = 1188;
inline constexpr int32_t kTiledataGroups = 512;  // in each of the two sections
inline constexpr int32_t kRadarColors = 65536;
inline constexpr int32_t kLandArtSize = 2024;  // a 44 by 44 diamond of 16-bit pixels

struct SampleOptions {
    std::string dir;         // written into: created if missing, else it must be empty
    bool full = false;       // full-size map and statics (393216 blocks) instead of a small world
    uint32_t seed = 1;       // same seed, same bytes
    bool changedMap = true;  // also map0-changed.mul: map0 with 1% of its blocks altered
};

// Writes the set; false with a reason in *error on failure. The directory
// must be new or empty (a link to an empty one will do): a directory that
// holds anything, or a name that is no directory, is refused before a file is
// written, so that a user's own client files are never replaced.
bool WriteSampleClient(const SampleOptions& options, std::string* error);

// ---- What an index/data pair holds

struct IdxMulSummary {
    int32_t records = 0;                   // IDX length / 12
    int32_t withData = 0;                  // records with Size above 0
    int32_t emptyRecords = 0;              // Position -1, Size -1
    std::vector<int32_t> zeroSizeRecords;  // Size 0, by record number
    int64_t mulBytes = 0;
};

// One record as a generator hands it over.
struct IdxRecord {
    enum class Kind { Data, Empty, ZeroSize };
    Kind kind = Kind::Empty;
    int32_t extra = 0;
    ByteArray bytes;  // the block, for Kind::Data (no bytes counts as ZeroSize)
};
using RecordSource = std::function<void(int32_t index, IdxRecord& record)>;

// Every writer below makes its files new: a name that is taken is a failure
// (see WriteSampleClient), and nothing that is there is changed.
//
// Writes records 0 .. records-1 as the source gives them: data blocks back to
// back in the MUL file, an empty record as Position -1 Size -1, a zero-size
// record as Size 0 with Position at the MUL file's current length.
bool WriteIdxMulPair(const std::string& idxPath, const std::string& mulPath, int32_t records,
                     const RecordSource& source, IdxMulSummary* summary, std::string* error);

// ---- Map and statics

// Which blocks a changed version of a map alters: about permille in 1000,
// picked by seed. An altered block differs from the original in one cell
// (its tile and its height).
struct MapChange {
    uint32_t seed = 0;
    int32_t permille = 0;
};
bool MapBlockChanged(const MapChange& change, int32_t block);

// The 196 bytes of one block (Block = X * blocksY + Y) into out: a 4-byte
// header and 64 cells of tile (16 bits) and height (signed byte), row by row.
// The first cell's tile decides the block's colour on a map overview.
void MakeMapBlock(uint32_t seed, int32_t blocksY, int32_t block, const MapChange* change, uint8_t* out);

// blocksX columns of blocksY blocks; 768 x 512 is the client's grid.
bool WriteMap(const std::string& path, int32_t blocksX, int32_t blocksY, uint32_t seed, std::string* error);
bool WriteChangedMap(const std::string& path, int32_t blocksX, int32_t blocksY, uint32_t seed, const MapChange& change,
                     std::string* error);

// The statics of the same world: records of 7 bytes (item 16 bits, x, y,
// z signed, hue 16 bits). A block without items is an empty record, and some
// of them (about 1 in 64) a record with Size 0 instead.
bool WriteStatics(const std::string& idxPath, const std::string& mulPath, int32_t blocksX, int32_t blocksY,
                  uint32_t seed, IdxMulSummary* summary, std::string* error);
// The statics bytes of one block, as WriteStatics writes them (empty if none).
ByteArray StaticsBlock(uint32_t seed, int32_t blockX, int32_t blockY);

// ---- Art and gumps

struct ArtOptions {
    int32_t records = 65537;      // Art's NbrOfBlocks + 1; fewer makes a short index
    int32_t landPermille = 30;    // share of the land tiles 0..0x3FFF with a picture
    int32_t staticPermille = 30;  // share of the items (record 0x4000 + item) with a picture
    uint32_t seed = 1;
};
// The land tiles and items that the map and statics use always have a
// picture, and so has the last record. Records 2 and 0x4002 have Size 0.
bool WriteArt(const std::string& idxPath, const std::string& mulPath, const ArtOptions& options, IdxMulSummary* summary,
              std::string* error);
// Record n of that art index, into a record that is Empty with Extra 0.
void ArtRecord(const ArtOptions& options, int32_t n, IdxRecord& record);
ByteArray MakeLandArt(uint32_t seed, int32_t tile);  // 2024 bytes
ByteArray MakeStaticArt(uint32_t seed, int32_t item);

struct GumpOptions {
    int32_t records = 65536;  // Gumps' NbrOfBlocks + 1; fewer makes a short index
    int32_t permille = 120;   // share of records with a gump
    int32_t maxWidth = 440;
    int32_t maxHeight = 340;
    uint32_t seed = 1;
};
// Extra of a gump is its width in the high and its height in the low 16 bits.
// Record 0 always has a gump; record 1 has Size 0.
bool WriteGumps(const std::string& idxPath, const std::string& mulPath, const GumpOptions& options,
                IdxMulSummary* summary, std::string* error);
// Record n of that gump index, into a record that is Empty with Extra 0.
void GumpRecord(const GumpOptions& options, int32_t n, IdxRecord& record);
// A gump of the client's run-length form: a table of height row starts (in
// 4-byte units from the block's start), then each row's runs of colour and
// length, the lengths of a row adding up to width, neighbours of other colour.
ByteArray MakeGumpBlock(int32_t width, int32_t height, uint32_t seed);
int32_t GumpExtra(int32_t width, int32_t height);

// ---- Tables of constant-size blocks

// groups of 708 bytes: a 4-byte header and 8 hues of 88 bytes (32 colours,
// table start and end, a 20-byte name).
bool WriteHues(const std::string& path, int32_t groups, uint32_t seed, std::string* error);
// 512 land groups of 836 bytes (header, 32 records of 26), then 512 static
// groups of 1188 bytes (header, 32 records of 37).
bool WriteTiledata(const std::string& path, uint32_t seed, std::string* error);
// 65536 colours of 15 bits: land tiles, then items from 16384 on.
bool WriteRadarcol(const std::string& path, uint32_t seed, std::string* error);

// ---- Current clients' files: the folder current/ of the set

// Mondain's Legacy's facet 0: 896 columns of 512 blocks (89915392 bytes).
inline constexpr int32_t kCurrentMapColumns = 896;
// The small set's current map and statics index are sparse files of the
// whole size: these columns are written; every other block of the map is a
// hole that reads as zeros, and every other index record one of zeros (Size
// 0: no block). The first columns are those of the small classic map, byte
// for byte.
struct ColumnRange {
    int32_t first;
    int32_t last;
};
inline constexpr std::array<ColumnRange, 3> kSmallCurrentColumns{{{0, kSmallMapColumns - 1}, {768, 771}, {892, 895}}};
// The High Seas tile data file: 512 land groups of 964 bytes, then item
// groups of 1316 bytes (2048 of them in current clients): the classic
// groups' records with their flags widened to 64 bits.
inline constexpr int32_t kHighSeasLandGroupSize = 964;
inline constexpr int32_t kHighSeasItemGroupSize = 1316;
inline constexpr int32_t kHighSeasItemGroups = 2048;
// The animation data file: groups of 548 bytes (a header, 8 records of 64
// signed frame offsets, an unknown byte, frame count, frame interval, start
// interval) for the items 8 g to 8 g + 7; no index.
inline constexpr int32_t kAnimdataGroupSize = 548;
inline constexpr int32_t kAnimdataGroups = 2048;

// Tile data group `group` of the High Seas layout (964 or 1316 bytes).
ByteArray HighSeasTiledataGroup(uint32_t seed, int32_t group);
bool WriteHighSeasTiledata(const std::string& path, int32_t itemGroups, uint32_t seed, std::string* error);
ByteArray AnimdataGroup(uint32_t seed, int32_t group);
bool WriteAnimdata(const std::string& path, int32_t groups, uint32_t seed, std::string* error);

// ---- Patch files

// FileID is the plain type number; the MUO writer takes it as given, so a
// caller flags it (MUOFileID) when it wants bit 6. Size 0 or below carries
// no data; otherwise data holds Size bytes.
struct PatchEntry {
    int32_t FileID = 0;
    int32_t Block = 0;
    int32_t Extra = 0;
    int32_t Size = 0;
    ByteArray data;
};
using EntrySource = std::function<void(int32_t index, PatchEntry& entry)>;

// The FileID as the program saves it in a MUO file: bit 6 set for the types
// whose InVerdata is 0 at start (Map, Statics, Light, Radarcol).
int32_t MUOFileID(int32_t FileID);

// The patch of the set: about twenty entries over most types, with a Size 0
// and a Size -1 entry and two duplicates (a later entry of the same FileID
// and Block with other bytes).
std::vector<PatchEntry> SamplePatchEntries(uint32_t seed);
// Entry index of a large mixed patch for benchmarks: mostly map, statics and
// art blocks, some of every other type, all blocks within their type's range.
// Blocks are drawn at random, so a long run of entries repeats some.
void BulkEntry(uint32_t seed, int32_t index, PatchEntry& entry);
// The entries of the set's verdata.mul: BulkEntry, except that entry 1 is
// empty with Size -1, entry 2 empty with Size 0, and the last (for 4 or more)
// repeats the FileID and Block of entry 0 with other bytes.
void SampleVerdataEntry(uint32_t seed, int32_t count, int32_t index, PatchEntry& entry);

// Header "MUOP", version 1, "MUO", "Created by Quillet", "Sir Patch", count,
// then the entries: FileID, Block, Extra, Size, data.
bool WriteMUOFile(const std::string& path, int32_t count, const EntrySource& source, std::string* error);
bool WriteMUOFile(const std::string& path, const std::vector<PatchEntry>& entries, std::string* error);
// Header "UOP", version (4 or 5), count, 0, and for version 5 a 10-byte tool
// name; then the entries: FileID byte, Block, Size, Extra, data.
bool WriteUOPFile(const std::string& path, int32_t version, int32_t count, const EntrySource& source,
                  std::string* error);
bool WriteUOPFile(const std::string& path, int32_t version, const std::vector<PatchEntry>& entries, std::string* error);
// Count, count entries of 20 bytes (FileID, Block, Position, Size, Extra),
// then the data in entry order. An entry without data has Position 0.
bool WriteVerdataFile(const std::string& path, int32_t count, const EntrySource& source, std::string* error);
bool WriteVerdataFile(const std::string& path, const std::vector<PatchEntry>& entries, std::string* error);
// A verdata.mul of count entries of SampleVerdataEntry.
bool WriteSampleVerdata(const std::string& path, int32_t count, uint32_t seed, std::string* error);

}  // namespace quillet::sample
