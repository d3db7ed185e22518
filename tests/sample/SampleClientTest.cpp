// The synthetic client set: deterministic, of the sizes the formats give, and
// laid out so that the library's readers see what the manifest says.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/cMUO.h"
#include "formats/cUOP.h"
#include "formats/cVerdata.h"
#include "sample/SampleClient.h"

namespace quillet {
namespace {

using namespace sample;
using test::Bytes;
using test::ReadFile;

const std::vector<std::string> kSetFiles = {"map0.mul",   "map0-changed.mul", "staidx0.mul",  "statics0.mul",
                                            "artidx.mul", "art.mul",          "gumpidx.mul",  "gumpart.mul",
                                            "hues.mul",   "tiledata.mul",     "radarcol.mul", "verdata.mul",
                                            "patch.muo",  "patch4.uop",       "patch5.uop",   "sample-client.txt"};

struct IdxRec {
    int32_t position, size, extra;
};

std::vector<IdxRec> ReadIdx(const std::string& path) {
    const ByteArray bytes = ReadFile(path);
    LeReader r(bytes);
    std::vector<IdxRec> out;
    while (r.Remaining() >= 12) {
        IdxRec rec{};
        rec.position = r.I32();
        rec.size = r.I32();
        rec.extra = r.I32();
        out.push_back(rec);
    }
    return out;
}

struct Entry {
    int32_t FileID, Block, Extra, Size;
    ByteArray data;
    bool operator==(const Entry&) const = default;
};

Entry FromPatch(const PatchEntry& e) { return {e.FileID, e.Block, e.Extra, e.Size, e.Size > 0 ? e.data : ByteArray{}}; }

// The entries of a file as the library's reader of its format gives them
// (the format tests check those readers byte by byte); load(n, FileID,
// Block, Extra, bytes, Size) reads entry n.
template <typename Load>
std::vector<Entry> Entries(int32_t count, Load load) {
    std::vector<Entry> out;
    for (int32_t n = 0; n < count; ++n) {
        uint8_t id = 0;
        Entry e{};
        ByteArray bytes;
        load(n, id, e.Block, e.Extra, bytes, e.Size);
        e.FileID = id;
        if (e.Size > 0) e.data = bytes;
        out.push_back(std::move(e));
    }
    return out;
}

template <typename Reader>  // cMUO, cUOP
std::vector<Entry> ReadEntries(Reader& reader, const std::string& path) {
    EXPECT_EQ(reader.cOpen(path), 0) << path;
    auto out = Entries(reader.cCount(), [&](int32_t, auto&... fields) { reader.cLoad(fields...); });
    EXPECT_TRUE(reader.cAtEnd()) << path << ": more bytes than its entries";
    return out;
}

std::vector<Entry> ReadVerdata(const std::string& path) {
    cVerdata verdata;
    EXPECT_EQ(verdata.cOpen(path), 0) << path;
    return Entries(verdata.cCount(), [&](int32_t n, auto&... fields) { verdata.cLoad(n, fields...); });
}

int64_t SizeOf(const std::string& path) { return static_cast<int64_t>(std::filesystem::file_size(path)); }

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

    static std::string setDir_;
    static std::string setError_;
    static bool setWritten_;
};

std::string SampleClientTest::setDir_;
std::string SampleClientTest::setError_;
bool SampleClientTest::setWritten_ = false;

TEST_F(SampleClientTest, SameSeedSameBytesOtherSeedOtherBytes) {
    SampleOptions same;
    same.dir = Path("same");
    std::string error;
    ASSERT_TRUE(WriteSampleClient(same, &error)) << error;
    SampleOptions other = same;
    other.dir = Path("other");
    other.seed = 2;
    ASSERT_TRUE(WriteSampleClient(other, &error)) << error;

    std::set<std::string> written;
    for (const auto& f : std::filesystem::directory_iterator(Set(""))) written.insert(f.path().filename().string());
    EXPECT_EQ(written, std::set<std::string>(kSetFiles.begin(), kSetFiles.end()));
    for (const std::string& name : kSetFiles) {
        const ByteArray first = ReadFile(Set(name));
        EXPECT_EQ(first, ReadFile(same.dir + "/" + name)) << name;
        const ByteArray seed2 = ReadFile(other.dir + "/" + name);
        EXPECT_NE(first, seed2) << name;
    }
    // A second run into the same directory replaces the files, it does not add to them.
    ASSERT_TRUE(WriteSampleClient(same, &error)) << error;
    EXPECT_EQ(ReadFile(Set("verdata.mul")), ReadFile(same.dir + "/verdata.mul"));
}

TEST_F(SampleClientTest, FileSizesAreThoseOfTheFormats) {
    const int64_t blocks = int64_t{kSmallMapColumns} * 512;
    EXPECT_EQ(SizeOf(Set("map0.mul")), 64 * 512 * 196);
    EXPECT_EQ(SizeOf(Set("map0-changed.mul")), 64 * 512 * 196);
    EXPECT_EQ(SizeOf(Set("staidx0.mul")), blocks * 12);
    EXPECT_EQ(SizeOf(Set("tiledata.mul")), 512 * 836 + 512 * 1188);
    EXPECT_EQ(SizeOf(Set("radarcol.mul")), 131072);
    EXPECT_EQ(SizeOf(Set("hues.mul")), 375 * 708);
    EXPECT_EQ(SizeOf(Set("artidx.mul")), 65537 * 12);  // Art's NbrOfBlocks + 1 records
    EXPECT_EQ(SizeOf(Set("gumpidx.mul")), 2048 * 12);  // short on purpose: Gumps has 65536
    EXPECT_EQ(SizeOf(Set("statics0.mul")) % 7, 0);
}

TEST_F(SampleClientTest, IndexRecordsAreValidAndTheOddOnesAreWhereTheyShouldBe) {
    struct Pair {
        const char* idx;
        const char* mul;
    };
    for (const Pair& p :
         {Pair{"staidx0.mul", "statics0.mul"}, Pair{"artidx.mul", "art.mul"}, Pair{"gumpidx.mul", "gumpart.mul"}}) {
        SCOPED_TRACE(p.idx);
        const std::vector<IdxRec> recs = ReadIdx(Set(p.idx));
        const int64_t mulSize = SizeOf(Set(p.mul));
        int64_t next = 0;  // blocks lie back to back in record order
        int empty = 0, zero = 0;
        for (const IdxRec& r : recs) {
            if (r.size > 0) {
                ASSERT_EQ(r.position, next);
                next += r.size;
            } else if (r.size == 0) {
                ++zero;
                EXPECT_EQ(r.position, next);
            } else {
                ++empty;
                ASSERT_EQ(r.size, -1);
                EXPECT_EQ(r.position, -1);
            }
        }
        EXPECT_EQ(next, mulSize);
        EXPECT_GT(empty, 0);
        EXPECT_GT(zero, 0);
    }
    const std::vector<IdxRec> art = ReadIdx(Set("artidx.mul"));
    EXPECT_EQ(art[2].size, 0);
    EXPECT_EQ(art[0x4002].size, 0);
    EXPECT_GT(art[65536].size, 0);            // Art's highest block has a picture
    EXPECT_EQ(art[0xA8].size, kLandArtSize);  // the map's water
    EXPECT_GT(art[0x4000 + 0x0CCA].size, 0);  // the statics' trees
    const std::vector<IdxRec> gumps = ReadIdx(Set("gumpidx.mul"));
    EXPECT_GT(gumps[0].size, 0);
    EXPECT_EQ(gumps[1].size, 0);
}

TEST_F(SampleClientTest, MapHasVariedTerrainAndTheChangedMapDiffersInAboutOnePercent) {
    const ByteArray map = ReadFile(Set("map0.mul"));
    const ByteArray changed = ReadFile(Set("map0-changed.mul"));
    ASSERT_EQ(map.size(), changed.size());
    const int32_t blocks = static_cast<int32_t>(map.size() / kMapBlockSize);
    std::set<uint16_t> firstTiles;
    int32_t differing = 0;
    for (int32_t b = 0; b < blocks; ++b) {
        const uint8_t* block = map.data() + int64_t{b} * kMapBlockSize;
        firstTiles.insert(LoadU16(block + 4));
        const int diff = static_cast<int>(
            std::mismatch(block, block + kMapBlockSize, changed.data() + int64_t{b} * kMapBlockSize).first - block);
        const bool differs = diff < kMapBlockSize;
        ASSERT_EQ(differs, MapBlockChanged({1u ^ 0x00C0FFEEu, 10}, b)) << "block " << b;
        if (differs) {
            ++differing;
            // One cell: its tile and its height, nothing else.
            int bytes = 0;
            for (int k = 0; k < kMapBlockSize; ++k) bytes += block[k] != changed[int64_t{b} * kMapBlockSize + k];
            EXPECT_EQ(bytes, 2);
            EXPECT_GE(diff, 4);
        }
    }
    EXPECT_GT(differing, blocks / 200);
    EXPECT_LT(differing, blocks / 50);
    // Several kinds of ground show on an overview (water, grass, rock ...), each in four tiles.
    EXPECT_GE(firstTiles.size(), 12u);

    // The building blocks give the same bytes as the set.
    uint8_t block[kMapBlockSize];
    for (int32_t b : {0, 513, blocks - 1}) {
        MakeMapBlock(1, kMapRows, b, nullptr, block);
        EXPECT_TRUE(std::equal(block, block + kMapBlockSize, map.begin() + int64_t{b} * kMapBlockSize)) << b;
    }
    // A narrower world is the first columns of the same world: the building
    // blocks alone give what the set's single pass gives.
    std::string error;
    const int32_t columns = 3;
    const auto prefix = [](const ByteArray& whole, size_t size) {
        return ByteArray(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    };
    ASSERT_TRUE(WriteMap(Path("map.mul"), columns, kMapRows, 1, &error)) << error;
    EXPECT_EQ(ReadFile(Path("map.mul")), prefix(map, size_t{columns} * kMapRows * kMapBlockSize));
    ASSERT_TRUE(WriteChangedMap(Path("changed.mul"), columns, kMapRows, 1, {1u ^ 0x00C0FFEEu, 10}, &error));
    EXPECT_EQ(ReadFile(Path("changed.mul")), prefix(changed, size_t{columns} * kMapRows * kMapBlockSize));
    ASSERT_TRUE(WriteStatics(Path("staidx.mul"), Path("statics.mul"), columns, kMapRows, 1, nullptr, &error));
    const ByteArray idx = ReadFile(Path("staidx.mul"));
    EXPECT_EQ(idx, prefix(ReadFile(Set("staidx0.mul")), size_t{columns} * kMapRows * 12));
    const ByteArray statics = ReadFile(Path("statics.mul"));
    EXPECT_EQ(statics, prefix(ReadFile(Set("statics0.mul")), statics.size()));
}

TEST_F(SampleClientTest, StaticsStandOnTheMapCellsAndHaveArtAndColours) {
    const std::vector<IdxRec> idx = ReadIdx(Set("staidx0.mul"));
    const ByteArray statics = ReadFile(Set("statics0.mul"));
    const ByteArray map = ReadFile(Set("map0.mul"));
    const std::vector<IdxRec> art = ReadIdx(Set("artidx.mul"));
    const ByteArray radar = ReadFile(Set("radarcol.mul"));
    int32_t items = 0;
    std::set<uint16_t> kinds;
    for (int32_t b = 0; b < static_cast<int32_t>(idx.size()); ++b) {
        if (idx[b].size <= 0) continue;
        ASSERT_EQ(idx[b].size % kStaticRecordSize, 0);
        LeReader r(statics.data() + idx[b].position, static_cast<size_t>(idx[b].size));
        while (r.Remaining() > 0) {
            const uint16_t item = r.U16();
            const uint8_t x = r.U8(), y = r.U8();
            const auto z = static_cast<int8_t>(r.U8());
            r.U16();  // hue
            ASSERT_LT(x, 8);
            ASSERT_LT(y, 8);
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
    // A block's statics as the building block gives them.
    const int32_t b = static_cast<int32_t>(
        std::find_if(idx.begin(), idx.end(), [](const IdxRec& r) { return r.size > 0; }) - idx.begin());
    const ByteArray one = StaticsBlock(1, b / kMapRows, b % kMapRows);
    EXPECT_TRUE(std::equal(one.begin(), one.end(), statics.begin() + idx[b].position));
}

TEST_F(SampleClientTest, GumpsDecodeToTheSizeTheirExtraGives) {
    const std::vector<IdxRec> idx = ReadIdx(Set("gumpidx.mul"));
    const ByteArray mul = ReadFile(Set("gumpart.mul"));
    int gumps = 0;
    for (const IdxRec& rec : idx) {
        if (rec.size <= 0) continue;
        const int32_t width = rec.extra >> 16 & 0xFFFF, height = rec.extra & 0xFFFF;
        ASSERT_GT(width, 0);
        ASSERT_GT(height, 0);
        LeReader r(mul.data() + rec.position, static_cast<size_t>(rec.size));
        std::vector<int32_t> starts;
        for (int32_t y = 0; y < height; ++y) starts.push_back(r.I32());
        starts.push_back(rec.size / 4);
        ASSERT_EQ(starts[0], height);
        for (int32_t y = 0; y < height; ++y) {
            ASSERT_LT(starts[y], starts[y + 1]);
            int32_t pixels = 0, previous = -1;
            for (int32_t run = starts[y]; run < starts[y + 1]; ++run) {
                const int32_t colour = r.U16(), length = r.U16();
                ASSERT_NE(colour, previous);
                ASSERT_GT(length, 0);
                pixels += length;
                previous = colour;
            }
            ASSERT_EQ(pixels, width) << "row " << y;
        }
        EXPECT_EQ(r.Remaining(), 0u);
        ++gumps;
    }
    EXPECT_GT(gumps, 100);
}

TEST_F(SampleClientTest, HuesTiledataAndRadarColoursHaveTheirRecordLayouts) {
    const ByteArray hues = ReadFile(Set("hues.mul"));
    for (int32_t hue : {0, 7, 8, 2999}) {
        const uint8_t* h = hues.data() + (hue / 8) * kHueGroupSize + 4 + (hue % 8) * 88;
        EXPECT_EQ(LoadU16(h + 64), LoadU16(h));       // table start: the first colour
        EXPECT_EQ(LoadU16(h + 66), LoadU16(h + 62));  // table end: the last
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(h + 68)), "Hue " + std::to_string(hue + 1));
    }
    const ByteArray tiledata = ReadFile(Set("tiledata.mul"));
    const uint8_t* water = tiledata.data() + (0xA8 / 32) * kLandGroupSize + 4 + (0xA8 % 32) * 26;
    EXPECT_EQ(LoadI32(water) & 0xC0, 0xC0);  // wet and impassable
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(water + 6)), "water");
    const uint8_t* tree =
        tiledata.data() + 512 * kLandGroupSize + (0x0CCA / 32) * kStaticGroupSize + 4 + (0x0CCA % 32) * 37;
    EXPECT_EQ(tree[16], 20);  // height
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(tree + 17)), "tree");
    const ByteArray radar = ReadFile(Set("radarcol.mul"));
    std::set<uint16_t> colours;
    for (size_t n = 0; n < radar.size(); n += 2) {
        ASSERT_EQ(radar[n + 1] & 0x80, 0) << "entry " << n / 2;  // 15-bit colours only
        colours.insert(LoadU16(radar.data() + n));
    }
    EXPECT_GT(colours.size(), 1000u);
    EXPECT_NE(LoadU16(radar.data() + 2 * 0xA8), LoadU16(radar.data() + 2 * 0x04));  // water is not grass
}

TEST_F(SampleClientTest, VerdataCountMatchesItsEntriesAndTheirData) {
    const std::vector<Entry> entries = ReadVerdata(Set("verdata.mul"));
    ASSERT_EQ(entries.size(), 200u);
    int64_t data = 0;
    for (size_t n = 0; n < entries.size(); ++n) {
        const Entry& e = entries[n];
        SCOPED_TRACE("entry " + std::to_string(n));
        ASSERT_FALSE(FileTypes[e.FileID].Name.empty());
        ASSERT_LE(e.Block, FileTypes[e.FileID].NbrOfBlocks);
        data += std::max(e.Size, 0);
        if (n != 1 && n != 2 && (e.FileID == 0 || e.FileID == 30 || e.FileID == 32)) {  // the fixed sizes
            EXPECT_EQ(e.Size, e.FileID == 0 ? 196 : e.FileID == 32 ? kHueVerdataSize : e.Block < 512 ? 836 : 1188);
        }
        PatchEntry expected;
        SampleVerdataEntry(1, 200, static_cast<int32_t>(n), expected);
        EXPECT_EQ(e, FromPatch(expected));
    }
    // The data lies behind the index without a gap (where: WritersPutEveryFieldWhereTheFormatSays).
    EXPECT_EQ(SizeOf(Set("verdata.mul")), 4 + 20 * 200 + data);
    EXPECT_EQ(entries[1].Size, -1);
    EXPECT_EQ(entries[2].Size, 0);
    EXPECT_EQ(entries[199].FileID, entries[0].FileID);
    EXPECT_EQ(entries[199].Block, entries[0].Block);
    EXPECT_NE(entries[199].data, entries[0].data);
}

TEST_F(SampleClientTest, PatchFilesHoldTheSameEntriesInTheirOwnLayouts) {
    cMUO muoFile;
    cUOP uop4File, uop5File;
    const std::vector<Entry> muo = ReadEntries(muoFile, Set("patch.muo"));
    EXPECT_EQ((std::vector<std::string>{muoFile.PatchName, muoFile.PatchDescription, muoFile.PatchAuthor}),
              (std::vector<std::string>{"MUO", "Created by Quillet", "Sir Patch"}));
    const std::vector<Entry> uop4 = ReadEntries(uop4File, Set("patch4.uop"));
    const std::vector<Entry> uop5 = ReadEntries(uop5File, Set("patch5.uop"));
    EXPECT_EQ(uop4File.FileVersion, 4);
    EXPECT_EQ(uop5File.FileVersion, 5);
    EXPECT_EQ(std::string(uop5File.ToolName.begin(), uop5File.ToolName.end()), "Quillet Pa");
    EXPECT_EQ(uop4, uop5);
    EXPECT_EQ(SizeOf(Set("patch5.uop")), SizeOf(Set("patch4.uop")) + 10);

    const std::vector<PatchEntry> expected = SamplePatchEntries(1);
    ASSERT_EQ(uop4.size(), expected.size());
    ASSERT_EQ(muo.size(), expected.size());
    std::set<std::pair<int32_t, int32_t>> seen;
    int duplicates = 0, flagged = 0, emptyOnes = 0;
    for (size_t n = 0; n < expected.size(); ++n) {
        EXPECT_EQ(uop4[n], FromPatch(expected[n]));
        Entry m = muo[n];
        // Bit 6 marks the types whose InVerdata is 0, and only those.
        const bool flag = (m.FileID & 64) != 0;
        flagged += flag;
        m.FileID &= ~64;
        EXPECT_EQ(flag, m.FileID == 0 || m.FileID == 2 || m.FileID == 128 || m.FileID == 129);
        EXPECT_EQ(m, uop4[n]);
        duplicates += !seen.insert({m.FileID, m.Block}).second;
        emptyOnes += m.Size <= 0;
        ASSERT_LE(m.Block, FileTypes[m.FileID].NbrOfBlocks);
    }
    EXPECT_EQ(duplicates, 2);
    EXPECT_GE(flagged, 4);
    EXPECT_EQ(emptyOnes, 2);
}

TEST_F(SampleClientTest, WritersPutEveryFieldWhereTheFormatSays) {
    std::string error;
    // Index/data pair: data, empty, zero-size, and a data record without bytes.
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
    EXPECT_EQ(sum.withData, 1);
    EXPECT_EQ(sum.emptyRecords, 1);
    EXPECT_EQ(sum.zeroSizeRecords, (std::vector<int32_t>{2, 3}));

    const std::vector<PatchEntry> two = {{4, 9, 5, 2, {0xAB, 0xCD}}, {0, 1, -1, -1, {}}};
    ASSERT_TRUE(WriteVerdataFile(Path("verdata.mul"), two, &error)) << error;
    EXPECT_EQ(ReadFile(Path("verdata.mul")),
              Bytes{}.le(2).verdata(4, 9, 44, 2, 5).verdata(0, 1, 0, -1, -1).u8(0xAB).u8(0xCD).b);
    ASSERT_TRUE(WriteUOPFile(Path("p.uop"), 4, two, &error)) << error;
    EXPECT_EQ(ReadFile(Path("p.uop")), Bytes{}.uopHeader(4, 2).uop(4, 9, 2, 5, {0xAB, 0xCD}).uop(0, 1, -1, -1).b);
    ASSERT_TRUE(WriteMUOFile(Path("empty.muo"), {}, &error)) << error;
    EXPECT_EQ(SizeOf(Path("empty.muo")), 45);
}

TEST_F(SampleClientTest, FailuresAreReportedAndLogged) {
    std::string error;
    test::WriteFile(Path("plain"), {1});
    SampleOptions options;
    options.dir = Path("plain") + "/set";  // below a file: cannot be made
    EXPECT_FALSE(WriteSampleClient(options, &error));
    EXPECT_NE(error.find("plain"), std::string::npos) << error;
    ASSERT_EQ(LogLines().size(), 1u);
    EXPECT_NE(LogLines()[0].find("SampleClient.WriteSampleClient"), std::string::npos);

    error.clear();
    EXPECT_FALSE(WriteUOPFile(Path("p.uop"), 3, {}, &error));
    EXPECT_NE(error.find("version"), std::string::npos) << error;
    // An entry whose Size disagrees with its data is refused, not written short.
    EXPECT_FALSE(WriteMUOFile(Path("p.muo"), {{4, 1, 0, 5, {1, 2}}}, &error));
    EXPECT_FALSE(WriteUOPFile(Path("p.uop"), 4, {{300, 1, 0, 0, {}}}, &error));  // FileID is a byte there
    EXPECT_FALSE(WriteMap(Path("m.mul"), 0, 512, 1, &error));
    EXPECT_THROW(MakeGumpBlock(0, 5, 1), Failure);
    EXPECT_EQ(LogLines().size(), 5u);
}

TEST(SampleBuildingBlocks, BulkEntriesStayInTheirTypesAndRepeatForASeed) {
    const std::map<int32_t, int32_t> kHighest = {{0, 393215}, {2, 393215}, {4, 65536},  {8, 255},
                                                 {10, 4095},  {12, 65535}, {14, 8182},  {30, 1023},
                                                 {32, 374},   {128, 99},   {129, 65535}};
    std::set<int32_t> types;
    for (int32_t n = 0; n < 2000; ++n) {
        PatchEntry a, b;
        BulkEntry(9, n, a);
        BulkEntry(9, n, b);
        ASSERT_EQ(FromPatch(a), FromPatch(b));
        ASSERT_GT(a.Size, 0);
        ASSERT_EQ(a.data.size(), static_cast<size_t>(a.Size));
        types.insert(a.FileID);
        ASSERT_TRUE(kHighest.count(a.FileID)) << a.FileID;
        ASSERT_LE(a.Block, kHighest.at(a.FileID));
    }
    EXPECT_EQ(types, (std::set<int32_t>{0, 2, 4, 8, 10, 12, 14, 30, 32, 128, 129}));
    EXPECT_EQ(MUOFileID(0), 64);
    EXPECT_EQ(MUOFileID(129), 193);
    EXPECT_EQ(MUOFileID(4), 4);
}

}  // namespace
}  // namespace quillet
