// The block ranges of current clients' files: a walk goes to the type's
// classic last block, or as far as the files hold blocks, up to the type's
// last block; the tile data file in its two layouts; the animation data file
// without an index.
#include <filesystem>
#include <fstream>

#include "actions/mStart.h"
#include "base/Warnings.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using namespace test;

constexpr int kStatics = 2;
constexpr int kSound = 8;
constexpr int kTexmaps = 10;
constexpr int kMultis = 14;
constexpr int kAnimdata = 31;
constexpr int kRadarcol = 129;

class RangesTest : public OperationsTest {
protected:
    // A file of Size bytes, a hole of zeros but for the pieces given.
    void WriteSparse(const std::string& name, int64_t size, const std::vector<std::pair<int64_t, ByteArray>>& pieces) {
        test::WriteFile(Path(name), {});
        std::filesystem::resize_file(Path(name), static_cast<uintmax_t>(size));
        std::fstream file(Path(name), std::ios::in | std::ios::out | std::ios::binary);
        for (const auto& [at, bytes] : pieces) {
            file.seekp(at);
            file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        }
    }
    // The tile data file of a layout: every group its block number, then counting bytes.
    ByteArray Tiledata(int32_t landSize, int32_t itemSize, int32_t itemGroups) {
        Bytes file;
        for (int32_t block = 0; block < 512 + itemGroups; ++block)
            file.le(block).raw(Counting(static_cast<size_t>((block < 512 ? landSize : itemSize) - 4), block));
        return file.b;
    }
    void Fresh() {
        PatchDispose();
        PatchNew();
    }
};

// An index whose records are zeros (no block) but the last one, of a 1-byte block.
TEST_F(RangesTest, IndexedTypesWalkToTheirClassicLastOrAsFarAsTheIndexGoes) {
    test::WriteFile(Path("one.mul"), Text("x"));
    const struct {
        int fileId;
        int32_t records, count;
        const char* warning;
    } cases[] = {
        {kArt, 70000, 70000, nullptr},
        {kArt, 81884, 81884, nullptr},
        {kArt, 81886, 81884, "1 block lies beyond the last block of Art (81883)"},
        {kMultis, 8000, 8183, nullptr},
        {kMultis, 8704, 8704, nullptr},
        {kSound, 4096, 4096, nullptr},
        {kTexmaps, 16384, 16384, nullptr},
        {kStatics, 458752, 458752, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.fileId) + ": " + std::to_string(c.records) + " records");
        Fresh();
        WriteSparse("type.idx", int64_t{c.records} * 12, {{int64_t{c.records - 1} * 12, Bytes{}.record(0, 1, 5).b}});
        const WarningWatch warnings;
        EXPECT_TRUE(LoadMUL(Path("one.mul"), Path("type.idx"), static_cast<uint8_t>(c.fileId), 0, HighestBlock()));
        EXPECT_EQ(PatchBlocks[c.fileId].Count, c.count);
        if (c.records == c.count) ExpectBlock(c.fileId, c.records - 1, 1, 5, Text("x"));
        ExpectBlock(c.fileId, FileTypes[c.fileId].ClassicLast, -1, 0);  // read as zeros: present and empty
        std::vector<std::string> told;
        if (c.warning) told.push_back(Path("type.idx") + ": " + c.warning + "; they were not imported.");
        EXPECT_EQ(warnings.Texts(), told);
    }
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(RangesTest, ConstantSizeTypesWalkAsFarAsTheFileGoes) {
    // The Mondain's Legacy map: 896 columns of 512 blocks.
    const ByteArray first = Counting(196, 1), last = Counting(196, 2);
    WriteSparse("ml.mul", 89915392, {{393216 * 196, first}, {458751 * 196, last}});
    LoadMUL(Path("ml.mul"), "", kMap, 393214, 393217);
    LoadMUL(Path("ml.mul"), "", kMap, 458750, HighestBlock());
    ExpectBlock(kMap, 393215, 196, -1, ByteArray(196, 0));
    ExpectBlock(kMap, 393216, 196, -1, first);
    ExpectBlock(kMap, 458751, 196, -1, last);
    EXPECT_EQ(PatchBlocks[kMap].Count, 6);
    // A classic map (768 columns) ends where it did; one block more than 896 columns is told.
    Fresh();
    WriteSparse("classic.mul", 77070336, {});
    LoadMUL(Path("classic.mul"), "", kMap, 393210, HighestBlock());
    EXPECT_EQ(PatchBlocks[kMap].Count, 6);
    ExpectAbsent(kMap, 393216);
    WriteSparse("long.mul", 89915392 + 196, {});
    {
        const WarningWatch warnings;
        LoadMUL(Path("long.mul"), "", kMap, 458751, 2147483647);  // beyond every type's last block
        EXPECT_EQ(warnings.Texts(),
                  std::vector<std::string>{Path("long.mul") + ": 1 block lies beyond the last block of Map (458751); "
                                                              "they were not imported."});
    }
    // Radar colours of 0x14000 entries, and the classic 0x10000.
    for (const auto& [entries, count] : {std::pair{0x14000, 81920}, std::pair{0x10000, 65536}}) {
        Fresh();
        test::WriteFile(Path("radar.mul"), Counting(2 * static_cast<size_t>(entries), 3));
        LoadMUL(Path("radar.mul"), "", kRadarcol, 0, HighestBlock());
        EXPECT_EQ(PatchBlocks[kRadarcol].Count, count);
        const auto at = static_cast<uint8_t>(2 * (entries - 1) + 3);
        ExpectBlock(kRadarcol, entries - 1, 2, -1, ByteArray{at, static_cast<uint8_t>(at + 1)});
    }
    EXPECT_TRUE(LogLines().empty());
}

// Land groups of 964 bytes, item groups of 1316 from 493568 on, as many as
// the size says; the item groups are walked from 512 on whatever the range's
// lower end.
TEST_F(RangesTest, HighSeasTiledataByItsSize) {
    for (const int32_t items : {512, 1024, 2048, 2050}) {
        SCOPED_TRACE(std::to_string(items) + " item groups");
        const ByteArray file = Tiledata(964, 1316, items);
        test::WriteFile(Path("tiledata.mul"), file);
        Fresh();
        const WarningWatch warnings;
        EXPECT_TRUE(LoadTiledata(Path("tiledata.mul"), 0, HighestBlock()));
        const int32_t blocks = std::min(512 + items, 2560);
        ASSERT_EQ(PatchBlocks[kTiledata].Count, blocks);
        for (int32_t block : {0, 511, 512, 1023, blocks - 1}) {
            const int32_t size = block < 512 ? 964 : 1316;
            const auto at = file.begin() + (block < 512 ? 964 * block : 493568 + 1316 * (block - 512));
            ExpectBlock(kTiledata, block, size, -1, ByteArray(at, at + size));
        }
        std::vector<std::string> told;
        if (items > 2048)
            told.push_back(Path("tiledata.mul") +
                           ": 2 blocks lie beyond the last block of Tiledata (2559); they were not imported.");
        EXPECT_EQ(warnings.Texts(), told);
    }
    Fresh();
    LoadTiledata(Path("tiledata.mul"), 600, 700);
    EXPECT_EQ(PatchBlocks[kTiledata].Count, 189);
    ExpectSlot(kTiledata, 512, 1316, -1, true);
    EXPECT_TRUE(LogLines().empty());
}

// Groups of 548 bytes without an index; bytes after the last whole group
// belong to no block. A short file reads as zeros up to the classic 2000.
TEST_F(RangesTest, AnimdataIsGroupsWithoutAnIndex) {
    const ByteArray whole = Counting(548 * 2048 + 100, 4);
    test::WriteFile(Path("animdata.mul"), whole);
    {
        const WarningWatch warnings;
        EXPECT_TRUE(LoadMUL(Path("animdata.mul"), Path("none.idx"), kAnimdata, 0, HighestBlock()));
        EXPECT_TRUE(warnings.Texts().empty());
    }
    EXPECT_EQ(PatchBlocks[kAnimdata].Count, 2048);
    for (int32_t group : {0, 1, 2047})
        ExpectBlock(kAnimdata, group, 548, -1,
                    ByteArray(whole.begin() + 548 * group, whole.begin() + 548 * (group + 1)));
    test::WriteFile(Path("more.mul"), Counting(548 * 2049, 4));
    test::WriteFile(Path("short.mul"), Counting(548 * 10 + 100, 4));
    const WarningWatch warnings;
    LoadMUL(Path("more.mul"), "", kAnimdata, 0, HighestBlock());
    Fresh();
    LoadMUL(Path("short.mul"), "", kAnimdata, 0, HighestBlock());
    EXPECT_EQ(PatchBlocks[kAnimdata].Count, 2001);
    ByteArray cut(whole.begin() + 5480, whole.begin() + 5580);  // what the file has of group 10, then zeros
    cut.resize(548, 0);
    ExpectBlock(kAnimdata, 10, 548, -1, cut);
    EXPECT_EQ(warnings.Texts(),
              (std::vector<std::string>{Path("more.mul") + ": 1 block lies beyond the last block of Animdata (2047); "
                                                           "they were not imported.",
                                        Path("short.mul") + ": 1991 blocks reach past the end of the file; the "
                                                            "missing bytes were read as zeros."}));
}

TEST_F(RangesTest, CompareWalksAsFarAsTheLargerSideAndNotAcrossTiledataLayouts) {
    test::WriteFile(Path("one.mul"), Text("x"));
    WriteSparse("short.idx", 5 * 12, {});
    WriteSparse("long.idx", 81884 * 12, {{81883 * 12, Bytes{}.record(0, 1, 5).b}});
    EXPECT_TRUE(CompareMUL(Path("one.mul"), Path("short.idx"), Path("one.mul"), Path("long.idx"), kArt));
    ExpectBlock(kArt, 81883, 1, 5, Text("x"));
    EXPECT_EQ(PatchBlocks[kArt].Count, 1);

    // Two High Seas versions: a difference in the last item group; a classic
    // file against a High Seas one is refused before any block.
    ByteArray hs = Tiledata(964, 1316, 2048);
    test::WriteFile(Path("hs1.mul"), hs);
    hs.back() ^= 0xFF;
    test::WriteFile(Path("hs2.mul"), hs);
    test::WriteFile(Path("classic.mul"), Tiledata(836, 1188, 512));
    EXPECT_TRUE(CompareMUL(Path("hs1.mul"), "", Path("hs2.mul"), "", kTiledata));
    ExpectBlock(kTiledata, 2559, 1316, -1, ByteArray(hs.end() - 1316, hs.end()));
    EXPECT_EQ(PatchBlocks[kTiledata].Count, 1);
    Fresh();
    EXPECT_FALSE(CompareMUL(Path("classic.mul"), "", Path("hs1.mul"), "", kTiledata));
    EXPECT_EQ(PatchBlocks[kTiledata].Count, 0);
    EXPECT_EQ(DataFileHandle.Size(), 0);
    ASSERT_EQ(LogLines().size(), 1u);
    EXPECT_NE(LogLines()[0].find("mMuls.CompareMUL: The tile data files have different layouts and cannot be "
                                 "compared: " +
                                 Path("classic.mul") + " is classic, " + Path("hs1.mul") + " is High Seas."),
              std::string::npos)
        << LogLines()[0];
}

}  // namespace
}  // namespace quillet
