// The synthetic client set: deterministic, of the sizes the formats give, and
// laid out as the formats say, byte for byte.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <tuple>

#include "base/Checked.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "operations/mImport.h"
#include "formats/cClientUOP.h"
#include "formats/cMUL.h"
#include "sample/SampleClient.h"
#include "sample/SampleContainers.h"

namespace quillet {
namespace {

using namespace sample;
using test::Bytes;
using test::ReadFile;

const std::vector<std::string> kSetFiles = {
    "map0.mul",    "map0-changed.mul", "staidx0.mul", "statics0.mul",      "artidx.mul",   "art.mul",
    "gumpidx.mul", "gumpart.mul",      "hues.mul",    "tiledata.mul",      "radarcol.mul", "verdata.mul",
    "patch.muo",   "patch4.uop",       "patch5.uop",  "sample-client.txt", "current"};
const std::vector<std::string> kContainers = {"current/artLegacyMUL.uop", "current/gumpartLegacyMUL.uop",
                                              "current/map0LegacyMUL.uop", "current/soundLegacyMUL.uop"};

struct IdxRec { int32_t position, size, extra; };

std::vector<IdxRec> ReadIdx(const std::string& path) {
    const ByteArray bytes = ReadFile(path);
    std::vector<IdxRec> out;
    for (LeReader r(bytes); r.Remaining() >= 12;) out.push_back({r.I32(), r.I32(), r.I32()});  // in this order
    return out;
}

int64_t SizeOf(const std::string& path) { return static_cast<int64_t>(std::filesystem::file_size(path)); }

// The first n bytes of a file.
ByteArray Prefix(const std::string& path, size_t n) {
    ByteArray bytes(n);
    std::ifstream in(path, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(n));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

// One small set for the whole suite: writing it is the slow part.
class SampleClientTest : public test::PatchTest {
protected:
    static void SetUpTestSuite() {
        setDir_ = test::MakeTempDir();
        SampleOptions options;
        options.dir = setDir_ + "/set";  // not there yet: the writer makes it
        setWritten_ = WriteSampleClient(options, &setError_);
    }
    static void TearDownTestSuite() { test::RemoveTree(setDir_); }
    void SetUp() override {
        PatchTest::SetUp();
        ASSERT_TRUE(setWritten_) << setError_;
    }
    static std::string Set(const std::string& name) { return setDir_ + "/set/" + name; }

    static inline std::string setDir_, setError_;
    static inline bool setWritten_ = false;
};

TEST_F(SampleClientTest, SameSeedSameBytesOtherSeedOtherBytesAndTheSizesOfTheFormats) {
    const SampleOptions same{.dir = Path("same")}, other{.dir = Path("other"), .seed = 2};
    std::string error;
    ASSERT_TRUE(WriteSampleClient(same, &error)) << error;
    ASSERT_TRUE(WriteSampleClient(other, &error)) << error;
    std::set<std::string> written;
    for (const auto& f : std::filesystem::directory_iterator(Set(""))) written.insert(f.path().filename().string());
    EXPECT_EQ(written, std::set<std::string>(kSetFiles.begin(), kSetFiles.end()));
    std::vector<std::string> files = kContainers;
    for (const std::string& name : kSetFiles)
        if (name != "current") files.push_back(name);
    for (const std::string& name : files) {
        const ByteArray first = ReadFile(Set(name));
        EXPECT_EQ(first, ReadFile(same.dir + "/" + name)) << name;
        EXPECT_NE(first, ReadFile(other.dir + "/" + name)) << name;
    }

    // artidx.mul has Art's NbrOfBlocks + 1 records; gumpidx.mul is short on purpose (Gumps has 65536).
    const std::map<std::string, int64_t> sizes = {
        {"map0.mul", 64 * 512 * 196}, {"staidx0.mul", int64_t{kSmallMapColumns} * 512 * 12},
        {"tiledata.mul", 512 * 836 + 512 * 1188}, {"radarcol.mul", 131072}, {"hues.mul", 375 * 708},
        {"artidx.mul", 65537 * 12}, {"gumpidx.mul", 2048 * 12}};
    for (const auto& [name, size] : sizes) EXPECT_EQ(SizeOf(Set(name)), size) << name;
}

TEST_F(SampleClientTest, IndexRecordsAreValidTheOddOnesWhereTheyShouldBeAndGumpsDecode) {
    for (const auto& [idx, mul] : {std::pair{"staidx0.mul", "statics0.mul"}, std::pair{"artidx.mul", "art.mul"},
                                   std::pair{"gumpidx.mul", "gumpart.mul"}}) {
        SCOPED_TRACE(idx);
        int64_t next = 0;
        int empty = 0, zero = 0;
        for (const IdxRec& r : ReadIdx(Set(idx))) {
            empty += r.size < 0;
            zero += r.size == 0;
            if (r.size < 0) {
                ASSERT_EQ(std::pair(r.position, r.size), std::pair(-1, -1));
            } else {  // blocks lie back to back in record order, one of size 0 where the next begins
                ASSERT_EQ(r.position, next);
                next += r.size;
            }
        }
        EXPECT_EQ(next, SizeOf(Set(mul)));
        EXPECT_GT(empty, 0);
        EXPECT_GT(zero, 0);
    }
    const std::vector<IdxRec> art = ReadIdx(Set("artidx.mul")), gumps = ReadIdx(Set("gumpidx.mul"));
    EXPECT_EQ(std::tuple(art[2].size, art[0x4002].size, gumps[1].size), std::tuple(0, 0, 0));
    EXPECT_EQ(art[0xA8].size, kLandArtSize);  // the map's water
    // Art's highest block and the statics' trees have pictures, and so has gump 0.
    EXPECT_TRUE(art[65536].size > 0 && art[0x4000 + 0x0CCA].size > 0 && gumps[0].size > 0);

    // Gumps decode to the size their Extra gives.
    const ByteArray mul = ReadFile(Set("gumpart.mul"));
    int decoded = 0;
    for (const IdxRec& rec : gumps) {
        if (rec.size <= 0) continue;
        const int32_t width = rec.extra >> 16 & 0xFFFF, height = rec.extra & 0xFFFF;
        ASSERT_TRUE(width > 0 && height > 0) << rec.extra;
        LeReader r(mul.data() + rec.position, static_cast<size_t>(rec.size));
        std::vector<int32_t> starts;  // of the rows, in 4-byte units, the first behind the table
        for (int32_t y = 0; y < height; ++y) starts.push_back(r.I32());
        starts.push_back(rec.size / 4);
        ASSERT_EQ(starts[0], height);
        for (int32_t y = 0; y < height; ++y) {
            ASSERT_LT(starts[y], starts[y + 1]);
            int32_t pixels = 0, previous = -1;
            for (int32_t run = starts[y]; run < starts[y + 1]; ++run) {
                const int32_t colour = r.U16(), length = r.U16();
                ASSERT_TRUE(colour != previous && length > 0) << "row " << y;
                pixels += length;
                previous = colour;
            }
            ASSERT_EQ(pixels, width) << "row " << y;
        }
        EXPECT_EQ(r.Remaining(), 0u);
        ++decoded;
    }
    EXPECT_GT(decoded, 100);

    // The index writer puts data, empty, zero-size records and a data record without bytes where the format
    // says (the other writers: the set's files below, byte for byte).
    std::string error;
    const RecordSource source = [](int32_t n, IdxRecord& r) {
        if (n == 0) r = {IdxRecord::Kind::Data, 7, {1, 2, 3}};
        if (n == 1) r = {IdxRecord::Kind::Empty, 0, {}};
        if (n == 2) r = {IdxRecord::Kind::ZeroSize, -1, {}};
        if (n == 3) r = {IdxRecord::Kind::Data, 0, {}};
    };
    IdxMulSummary sum;
    ASSERT_TRUE(WriteIdxMulPair(Path("a.idx"), Path("a.mul"), 4, source, &sum, &error)) << error;
    EXPECT_EQ(ReadFile(Path("a.idx")), Bytes{}.record(0, 3, 7).record(-1, -1, 0).record(3, 0, -1).record(3, 0, 0).b);
    EXPECT_EQ(ReadFile(Path("a.mul")), (ByteArray{1, 2, 3}));
    EXPECT_EQ(std::pair(sum.withData, sum.emptyRecords), std::pair(1, 1));
    EXPECT_EQ(sum.zeroSizeRecords, (std::vector<int32_t>{2, 3}));
}

TEST_F(SampleClientTest, MapHasVariedTerrainTheChangedOneDiffersInAboutOnePercentStaticsAndRadarColoursFit) {
    const ByteArray map = ReadFile(Set("map0.mul")), changed = ReadFile(Set("map0-changed.mul"));
    ASSERT_EQ(map.size(), changed.size());
    const int32_t blocks = static_cast<int32_t>(map.size() / kMapBlockSize);
    std::set<uint16_t> firstTiles;
    int32_t differing = 0;
    for (int32_t b = 0; b < blocks; ++b) {
        const int64_t at = int64_t{b} * kMapBlockSize;
        firstTiles.insert(LoadU16(map.data() + at + 4));
        int bytes = 0, first = kMapBlockSize;
        for (int k = kMapBlockSize - 1; k >= 0; --k)
            if (map[at + k] != changed[at + k]) ++bytes, first = k;
        ASSERT_EQ(bytes > 0, MapBlockChanged({1u ^ 0x00C0FFEEu, 10}, b)) << "block " << b;
        differing += bytes > 0;
        EXPECT_TRUE(bytes == 0 || (bytes == 2 && first >= 4)) << "block " << b;  // one cell: its tile and height
    }
    EXPECT_TRUE(differing > blocks / 200 && differing < blocks / 50) << differing;
    EXPECT_GE(firstTiles.size(), 12u);  // several kinds of ground show (water, grass, rock ...), four tiles each

    // The building blocks give the same bytes as the set, and a narrower
    // world is the first columns of the same world.
    uint8_t block[kMapBlockSize];
    for (int32_t b : {0, 513, blocks - 1}) {
        MakeMapBlock(1, kMapRows, b, nullptr, block);
        EXPECT_TRUE(std::equal(block, block + kMapBlockSize, map.begin() + int64_t{b} * kMapBlockSize)) << b;
    }
    std::string error;
    const size_t three = size_t{3} * kMapRows;  // blocks of three columns
    const auto prefix = [](const ByteArray& all, size_t n) { return ByteArray(all.data(), all.data() + n); };
    ASSERT_TRUE(WriteMap(Path("map.mul"), 3, kMapRows, 1, &error)) << error;
    EXPECT_EQ(ReadFile(Path("map.mul")), prefix(map, three * kMapBlockSize));
    ASSERT_TRUE(WriteChangedMap(Path("changed.mul"), 3, kMapRows, 1, {1u ^ 0x00C0FFEEu, 10}, &error));
    EXPECT_EQ(ReadFile(Path("changed.mul")), prefix(changed, three * kMapBlockSize));
    ASSERT_TRUE(WriteStatics(Path("staidx.mul"), Path("statics.mul"), 3, kMapRows, 1, nullptr, &error));
    EXPECT_EQ(ReadFile(Path("staidx.mul")), prefix(ReadFile(Set("staidx0.mul")), three * 12));
    const ByteArray narrow = ReadFile(Path("statics.mul")), statics = ReadFile(Set("statics0.mul"));
    EXPECT_EQ(narrow, prefix(statics, narrow.size()));

    // Statics stand on the map's cells and have art and radar colours.
    const std::vector<IdxRec> idx = ReadIdx(Set("staidx0.mul")), art = ReadIdx(Set("artidx.mul"));
    const ByteArray radar = ReadFile(Set("radarcol.mul"));
    int32_t items = 0;
    std::set<uint16_t> kinds;
    for (int32_t b = 0; b < static_cast<int32_t>(idx.size()); ++b) {
        if (idx[b].size <= 0) continue;
        ASSERT_EQ(idx[b].size % kStaticRecordSize, 0);
        if (items == 0) {  // the first block's statics as the building block gives them
            EXPECT_EQ(StaticsBlock(1, b / kMapRows, b % kMapRows),
                      ByteArray(&statics[idx[b].position], &statics[idx[b].position] + idx[b].size));
        }
        for (LeReader r(statics.data() + idx[b].position, static_cast<size_t>(idx[b].size)); r.Remaining() > 0;) {
            const uint16_t item = r.U16();
            const uint8_t x = r.U8(), y = r.U8();
            const auto z = static_cast<int8_t>(r.U8());
            r.U16();  // hue
            ASSERT_TRUE(x < 8 && y < 8) << int{x} << "," << int{y};
            ASSERT_LT(item, 0x4000);  // well inside the radar table's item half
            // The item stands at the height of its cell.
            EXPECT_EQ(z, static_cast<int8_t>(map[int64_t{b} * kMapBlockSize + 4 + 3 * (y * 8 + x) + 2]));
            EXPECT_GT(art[0x4000 + item].size, 0);
            EXPECT_NE(LoadU16(radar.data() + 2 * (16384 + item)), 0);
            kinds.insert(item);
            ++items;
        }
    }
    EXPECT_EQ(items, static_cast<int32_t>(statics.size() / kStaticRecordSize));
    EXPECT_GE(kinds.size(), 10u);
    std::set<uint16_t> colours;
    for (size_t n = 0; n < radar.size(); n += 2) {
        ASSERT_EQ(radar[n + 1] & 0x80, 0) << "entry " << n / 2;  // 15-bit colours only
        colours.insert(LoadU16(radar.data() + n));
    }
    EXPECT_GT(colours.size(), 1000u);
    EXPECT_NE(LoadU16(radar.data() + 2 * 0xA8), LoadU16(radar.data() + 2 * 0x04));  // water is not grass
}

TEST_F(SampleClientTest, HuesAndTiledataHaveTheirRecordLayouts) {
    const ByteArray hues = ReadFile(Set("hues.mul")), tiledata = ReadFile(Set("tiledata.mul"));
    const auto text = [](const uint8_t* at) { return std::string(reinterpret_cast<const char*>(at)); };
    for (int32_t hue : {0, 7, 8, 2999}) {
        const uint8_t* h = hues.data() + (hue / 8) * kHueGroupSize + 4 + (hue % 8) * 88;
        EXPECT_EQ(LoadU16(h + 64), LoadU16(h));       // table start: the first colour
        EXPECT_EQ(LoadU16(h + 66), LoadU16(h + 62));  // table end: the last
        EXPECT_EQ(text(h + 68), "Hue " + std::to_string(hue + 1));
    }
    const uint8_t* water = tiledata.data() + (0xA8 / 32) * kLandGroupSize + 4 + (0xA8 % 32) * 26;
    EXPECT_EQ(LoadI32(water) & 0xC0, 0xC0);  // wet and impassable
    EXPECT_EQ(text(water + 6), "water");
    const uint8_t* tree =
        tiledata.data() + 512 * kLandGroupSize + (0x0CCA / 32) * kStaticGroupSize + 4 + (0x0CCA % 32) * 37;
    EXPECT_EQ(tree[16], 20);  // height
    EXPECT_EQ(text(tree + 17), "tree");
}

// The current client's files: sizes of their formats, sparse where the
// small set leaves columns out, the classic world's bytes where both have a
// block, and imported block for block.
TEST_F(SampleClientTest, CurrentClientFilesHaveTheirFormatsAndImportBlockForBlock) {
    const std::map<std::string, int64_t> sizes = {
        {"map0.mul", 89915392}, {"staidx0.mul", 458752 * 12}, {"tiledata.mul", 3188736}, {"animdata.mul", 2048 * 548}};
    for (const auto& [name, size] : sizes) EXPECT_EQ(SizeOf(Set("current/" + name)), size) << name;
    struct stat info {};
    ASSERT_EQ(::stat(Set("current/map0.mul").c_str(), &info), 0);
    EXPECT_LT(int64_t{info.st_blocks} * 512, 16 << 20) << "the columns not written take no disk";
    // Same seed, same bytes; another seed, other bytes.
    const std::string other = Path("other");
    std::string error;
    ASSERT_TRUE(WriteSampleClient({.dir = other, .seed = 2}, &error)) << error;
    for (const char* name : {"staidx0.mul", "statics0.mul", "tiledata.mul", "animdata.mul"})
        EXPECT_NE(ReadFile(Set(std::string("current/") + name)), ReadFile(other + "/current/" + name)) << name;

    // The classic small set's map and statics are the first columns, byte for byte.
    for (const char* name : {"map0.mul", "staidx0.mul", "statics0.mul"}) {
        const ByteArray classic = ReadFile(Set(name));
        EXPECT_LT(SizeOf(Set(name)), SizeOf(Set(std::string("current/") + name)));
        EXPECT_EQ(Prefix(Set(std::string("current/") + name), classic.size()), classic) << name;
    }

    // Imported from column 740 on: every column written gives its blocks, every other one zeros, up to
    // the last one.
    ASSERT_TRUE(LoadMUL(Set("current/map0.mul"), "", 0, 740 * kMapRows, HighestBlock()));
    ASSERT_EQ(PatchBlocks[0].Count, (kCurrentMapColumns - 740) * kMapRows);
    uint8_t block[kMapBlockSize];
    for (int32_t x = 740; x < kCurrentMapColumns; ++x) {
        const bool written = std::any_of(kSmallCurrentColumns.begin(), kSmallCurrentColumns.end(),
                                         [x](const ColumnRange& r) { return x >= r.first && x <= r.last; });
        for (int32_t y : {0, 137, 511}) {
            const int32_t n = x * kMapRows + y;
            if (written) MakeMapBlock(1, kMapRows, n, nullptr, block);
            const ByteArray want = written ? ByteArray(block, block + kMapBlockSize) : ByteArray(kMapBlockSize, 0);
            ASSERT_EQ(ReadBlockBytes(0, n), want) << "block " << n;
        }
    }
    ASSERT_TRUE(LoadMUL(Set("current/statics0.mul"), Set("current/staidx0.mul"), 2, 0, HighestBlock()));
    EXPECT_EQ(PatchBlocks[2].Count, 458752);
    for (const int32_t x : {5, 770, 895}) {
        for (int32_t y = 0; y < kMapRows; ++y) {
            const ByteArray want = StaticsBlock(1, x, y);
            if (!want.empty()) {
                ASSERT_EQ(ReadBlockBytes(2, x * kMapRows + y), want) << x << "," << y;
            }
        }
    }
    EXPECT_EQ(Slot(2, 100 * kMapRows).Size, -1);  // a record of the hole: no block

    ASSERT_TRUE(LoadTiledata(Set("current/tiledata.mul"), 0, HighestBlock()));
    ASSERT_TRUE(LoadMUL(Set("current/animdata.mul"), "", 31, 0, HighestBlock()));
    EXPECT_EQ(std::pair(PatchBlocks[30].Count, PatchBlocks[31].Count), std::pair(2560, 2048));
    int animated = 0;
    for (int32_t g = 0; g < 2560; ++g) {
        const ByteArray tiles = ReadBlockBytes(30, g);
        ASSERT_EQ(tiles, HighSeasTiledataGroup(1, g)) << g;
        ASSERT_EQ(tiles.size(), g < 512 ? 964u : 1316u);
        if (g >= 2048) continue;
        const ByteArray anims = ReadBlockBytes(31, g);
        ASSERT_EQ(anims, AnimdataGroup(1, g)) << g;
        for (int k = 0; k < 8; ++k) {
            const uint8_t* record = anims.data() + 4 + 68 * k;
            if (record[65] == 0) continue;
            ++animated;
            ASSERT_TRUE(record[65] >= 2 && record[65] <= 11 && record[66] >= 1) << g;
            for (uint8_t f = 0; f < record[65]; ++f) ASSERT_EQ(record[f], f);
        }
    }
    EXPECT_TRUE(animated > 16384 / 20 && animated < 16384 / 6) << animated;
    // The High Seas records are the classic ones with 64-bit flags.
    const ByteArray water = ReadBlockBytes(30, 0xA8 / 32), tree = ReadBlockBytes(30, 512 + 0x0CCA / 32);
    const uint8_t* land = water.data() + 4 + (0xA8 % 32) * 30;
    EXPECT_EQ(std::tuple(LoadI32(land) & 0xC0, LoadI32(land + 4)), std::tuple(0xC0, 0));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(land + 10)), "water");
    const uint8_t* item = tree.data() + 4 + (0x0CCA % 32) * 41;
    EXPECT_EQ(item[20], 20);  // height
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(item + 21)), "tree");
}

// The expected files are built here from the sample's entries, byte by byte.
TEST_F(SampleClientTest, VerdataAndPatchFilesHoldTheSampleEntriesInTheirOwnLayouts) {
    Bytes index = Bytes{}.le(200), data;
    std::vector<PatchEntry> entries(200);
    std::set<int32_t> types;
    for (int32_t n = 0; n < 200; ++n) {
        PatchEntry& e = entries[static_cast<size_t>(n)];
        SampleVerdataEntry(1, 200, n, e);
        SCOPED_TRACE("entry " + std::to_string(n));
        ASSERT_LE(e.Block, FileTypes[e.FileID].NbrOfBlocks);
        ASSERT_EQ(e.data.size(), static_cast<size_t>(std::max(e.Size, 0)));  // the index tells the data's size
        types.insert(e.FileID);
        if (n != 1 && n != 2 && (e.FileID == 0 || e.FileID == 30 || e.FileID == 32)) {  // the fixed sizes
            EXPECT_EQ(e.Size, e.FileID == 0 ? 196 : e.FileID == 32 ? kHueVerdataSize : e.Block < 512 ? 836 : 1188);
        }
        const auto at = static_cast<int32_t>(4 + 20 * 200 + data.b.size());  // no gap
        index.verdata(e.FileID, e.Block, e.Size > 0 ? at : 0, e.Size, e.Extra);
        if (e.Size > 0) data.raw(e.data);
    }
    EXPECT_EQ(ReadFile(Set("verdata.mul")), index.raw(data.b).b);
    EXPECT_EQ(types, (std::set<int32_t>{0, 2, 4, 8, 10, 12, 14, 30, 32, 128, 129}));
    EXPECT_EQ(std::pair(entries[1].Size, entries[2].Size), std::pair(-1, 0));
    EXPECT_EQ(std::pair(entries[199].FileID, entries[199].Block), std::pair(entries[0].FileID, entries[0].Block));
    EXPECT_NE(entries[199].data, entries[0].data);

    const std::vector<PatchEntry> patch = SamplePatchEntries(1);
    const auto count = static_cast<int32_t>(patch.size());
    Bytes muo = Bytes{}.muoHeader(count), uop4 = Bytes{}.uopHeader(4, count), uop5;
    uop5.text("UOP").u8(5).le(count).le(0).text("Quillet Pa");  // the tool's name, cut to 10 bytes
    std::set<std::pair<int32_t, int32_t>> seen;
    int duplicates = 0, flagged = 0, emptyOnes = 0;
    for (const PatchEntry& e : patch) {
        const ByteArray bytes = e.Size > 0 ? e.data : ByteArray{};
        muo.muo(MUOFileID(e.FileID), e.Block, e.Extra, e.Size, bytes);
        for (Bytes* uop : {&uop4, &uop5}) uop->uop(static_cast<uint8_t>(e.FileID), e.Block, e.Size, e.Extra, bytes);
        // Bit 6 marks the types whose InVerdata is 0 in a MUO file, and only those.
        const bool flag = e.FileID == 0 || e.FileID == 2 || e.FileID == 128 || e.FileID == 129;
        EXPECT_EQ(MUOFileID(e.FileID), flag ? e.FileID | 64 : e.FileID);
        flagged += flag;
        duplicates += !seen.insert({e.FileID, e.Block}).second;
        emptyOnes += e.Size <= 0;
        ASSERT_LE(e.Block, FileTypes[e.FileID].NbrOfBlocks);
    }
    EXPECT_EQ(std::tuple(duplicates, flagged >= 4, emptyOnes), std::tuple(2, true, 2));
    EXPECT_EQ(ReadFile(Set("patch.muo")), muo.b);
    EXPECT_EQ(ReadFile(Set("patch4.uop")), uop4.b);
    EXPECT_EQ(ReadFile(Set("patch5.uop")), uop5.b);
}

// The flags of the entries of a container, from its tables.
std::vector<int16_t> Flags(const ByteArray& file) {
    std::vector<int16_t> flags;
    for (int64_t table = LoadI32(file.data() + 12); table != 0;) {
        const int32_t used = LoadI32(file.data() + table);
        for (int32_t slot = 0; slot < used; ++slot) flags.push_back(LoadI16(file.data() + table + 12 + 34 * slot + 32));
        table = LoadI32(file.data() + table + 4);
    }
    return flags;
}

// The containers of the current client hold the blocks of the classic files
// and more, each read back as its type.
TEST_F(SampleClientTest, ContainersHoldTheClassicBlocksAndMoreBeyond) {
    struct Opened {
        cMUL mul;
        cClientUOP uop;
    };
    // The same block; the same Extra too where the type keeps one (gumps).
    const auto same = [](cMUL& mul, cClientUOP& uop, int32_t block, bool extras = false) {
        int32_t extra1 = 0, extra2 = 0;
        ByteArray bytes1, bytes2;
        const int32_t size1 = mul.cLoad(block, extra1, bytes1), size2 = uop.cLoad(block, extra2, bytes2);
        if (size1 < 0 || size2 < 0) return size1 == size2 && extra2 == -1;  // an empty record: no entry
        return size1 == size2 && (size1 == 0 || bytes1 == bytes2) && (!extras || extra1 == extra2);
    };
    Opened art, gumps, map;
    ASSERT_EQ(art.mul.cOpen(Set("artidx.mul"), Set("art.mul"), 0, 0, 0), 0);
    ASSERT_EQ(art.uop.cOpen(Set("current/artLegacyMUL.uop"), 4), 0) << art.uop.Why;
    for (int32_t n = 0; n <= 65536; ++n) ASSERT_TRUE(same(art.mul, art.uop, n)) << n;
    EXPECT_GT(art.uop.cBlocksIn(65537, kCurrentArtLast), 100);
    EXPECT_EQ(art.uop.cExtent(), kCurrentArtLast + 1);
    const std::vector<int16_t> artFlags = Flags(ReadFile(Set("current/artLegacyMUL.uop")));
    EXPECT_EQ(std::set<int16_t>(artFlags.begin(), artFlags.end()), (std::set<int16_t>{0, 1}));

    ASSERT_EQ(gumps.mul.cOpen(Set("gumpidx.mul"), Set("gumpart.mul"), 0, 0, 0), 0);
    ASSERT_EQ(gumps.uop.cOpen(Set("current/gumpartLegacyMUL.uop"), 12), 0) << gumps.uop.Why;
    for (int32_t n = 0; n < 2048; ++n) ASSERT_TRUE(same(gumps.mul, gumps.uop, n, true)) << n;
    for (const int32_t n : {9834, 9839, 50000, 65535}) {
        int32_t extra = 0;
        EXPECT_GT(gumps.uop.cLoadHead(n, extra), 0) << n;
        EXPECT_GT(extra, 0) << n;
    }
    const std::vector<int16_t> gumpFlags = Flags(ReadFile(Set("current/gumpartLegacyMUL.uop")));
    EXPECT_EQ(std::set<int16_t>(gumpFlags.begin(), gumpFlags.end()), (std::set<int16_t>{3}));

    ASSERT_EQ(map.mul.cOpen("", Set("map0.mul"), kMapBlockSize, kSmallMapColumns * kMapRows, 0), 0);
    ASSERT_EQ(map.uop.cOpen(Set("current/map0LegacyMUL.uop"), 0), 0) << map.uop.Why;
    EXPECT_EQ(map.uop.cKind(), "Map 0");
    EXPECT_EQ(map.uop.cExtent(), kCurrentMapColumns * kMapRows);
    for (int32_t b = 0; b < kSmallMapColumns * kMapRows; b += 97) ASSERT_TRUE(same(map.mul, map.uop, b)) << b;
    // Beyond the classic map: entries 96 and 103 with their blocks, 100 without (zeros); the last one short.
    ByteArray block(kMapBlockSize), got;
    int32_t extra = 0;
    for (const int32_t b : {96 * 4096, 103 * 4096 + 4095, 111 * 4096 + 3995}) {
        MakeMapBlock(1, kMapRows, b, nullptr, block.data());
        EXPECT_EQ(map.uop.cLoad(b, extra, got), kMapBlockSize);
        EXPECT_EQ(got, block) << b;
    }
    ByteArray half(kMapBlockSize, 0);
    MakeMapBlock(1, kMapRows, 111 * 4096 + 3996, nullptr, block.data());
    std::copy(block.begin(), block.begin() + 98, half.begin());
    for (const auto& [b, bytes] : {std::pair{100 * 4096 + 7, ByteArray(kMapBlockSize, 0)},
                                   {111 * 4096 + 3996, half},
                                   {458751, ByteArray(kMapBlockSize, 0)}}) {
        EXPECT_EQ(map.uop.cLoad(b, extra, got), kMapBlockSize);
        EXPECT_EQ(got, bytes) << b;
    }

    cClientUOP sound;
    ASSERT_EQ(sound.cOpen(Set("current/soundLegacyMUL.uop"), 8), 0) << sound.Why;
    for (const int32_t n : kContainerSounds) {
        EXPECT_EQ(sound.cLoad(n, extra, got), static_cast<int32_t>(ContainerSound(1, n).size()));
        EXPECT_EQ(extra, n + 1);
        EXPECT_EQ(got, ContainerSound(1, n));
    }
    EXPECT_EQ(sound.cBlocksIn(0, INT32_MAX), 8);
}

// The set goes only into a new or an empty directory, and every writer makes
// its files new: a user's own files are never replaced, not through a link either.
TEST_F(SampleClientTest, NothingThatIsThereIsOverwrittenNorALinkFollowed) {
    namespace fs = std::filesystem;
    std::string error;
    fs::create_directories(Path("client"));
    test::WriteFile(Path("client/verdata.mul"), {7, 7});
    fs::create_directory_symlink("client", Path("link-to-client"));
    test::WriteFile(Path("plain"), {1});
    for (const std::string& refused : {Path("client"), Path("link-to-client"), Path("plain")}) {
        error.clear();
        EXPECT_FALSE(WriteSampleClient({.dir = refused}, &error)) << refused;
        EXPECT_NE(error.find(refused + " is not "), std::string::npos) << error;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("client")), fs::directory_iterator()), 1);
    EXPECT_EQ(ReadFile(Path("client/verdata.mul")), (ByteArray{7, 7}));
    EXPECT_EQ(ReadFile(Path("plain")), ByteArray{1});

    // A link to an empty directory leads the set into it.
    fs::create_directories(Path("empty"));
    fs::create_directory_symlink("empty", Path("link-to-empty"));
    ASSERT_TRUE(WriteSampleClient({.dir = Path("link-to-empty"), .changedMap = false}, &error)) << error;
    EXPECT_EQ(ReadFile(Path("empty/verdata.mul")), ReadFile(Set("verdata.mul")));

    // The writers of single files refuse a taken name: a file, a link to one,
    // a link that leads nowhere (whose target is not made).
    fs::create_symlink("client/verdata.mul", Path("to-file.muo"));
    fs::create_symlink("client/new.muo", Path("dangling.muo"));
    for (const std::string& taken : {Path("client/verdata.mul"), Path("to-file.muo"), Path("dangling.muo")}) {
        error.clear();
        EXPECT_FALSE(WriteMUOFile(taken, SamplePatchEntries(1), &error)) << taken;
        EXPECT_NE(error.find("is there already"), std::string::npos) << error;
    }
    EXPECT_EQ(ReadFile(Path("client/verdata.mul")), (ByteArray{7, 7}));
    EXPECT_FALSE(test::Exists(Path("client/new.muo")));
}

TEST_F(SampleClientTest, FailuresAreReportedAndLogged) {
    std::string error;
    test::WriteFile(Path("plain"), {1});
    SampleOptions options;
    options.dir = Path("plain") + "/set";  // below a file: cannot be made
    EXPECT_FALSE(WriteSampleClient(options, &error));
    EXPECT_NE(error.find("plain"), std::string::npos) << error;
    error.clear();
    EXPECT_FALSE(WriteUOPFile(Path("p.uop"), 3, {}, &error));
    EXPECT_NE(error.find("version"), std::string::npos) << error;
    // An entry whose Size disagrees with its data is refused, not written short.
    EXPECT_FALSE(WriteMUOFile(Path("p.muo"), {{4, 1, 0, 5, {1, 2}}}, &error));
    EXPECT_FALSE(WriteUOPFile(Path("p.uop"), 4, {{300, 1, 0, 0, {}}}, &error));  // FileID is a byte there
    EXPECT_FALSE(WriteMap(Path("m.mul"), 0, 512, 1, &error));
    EXPECT_THROW(MakeGumpBlock(0, 5, 1), Failure);
    EXPECT_EQ(LoggedProcs(), (std::vector<std::string>{"SampleClient.WriteSampleClient", "SampleClient.WriteUOPFile",
                                                       "SampleClient.WriteMUOFile", "SampleClient.WriteUOPFile",
                                                       "SampleClient.WriteMap"}));  // the throw is the caller's to log
}

}  // namespace
}  // namespace quillet
