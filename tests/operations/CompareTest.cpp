#include <gtest/gtest.h>

#include "core/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/mHues.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using namespace test;

// An Art pair: records in order, their bytes back to back in the MUL file.
struct ArtRecord {
    int32_t size;  // -1, 0, another negative: no bytes
    int32_t extra;
    std::string bytes;
};

class CompareTest : public test::OperationsTest {
protected:
    void WriteArt(const std::string& name, const std::vector<ArtRecord>& records) {
        Bytes idx;
        std::string mul;
        for (const ArtRecord& record : records) {
            const bool data = record.size > 0;
            idx.record(data ? static_cast<int32_t>(mul.size()) : -1, record.size, record.extra);
            if (data) mul += record.bytes;
        }
        test::WriteFile(Path(name + ".idx"), idx.b);
        test::WriteFile(Path(name + ".mul"), Text(mul));
    }
    void CompareArt() {
        CompareMUL(Path("base.mul"), Path("base.idx"), Path("new.mul"), Path("new.idx"), kArt);
    }
};

TEST_F(CompareTest, StoresTheAlteredSideOfWhatDiffers) {
    WriteArt("base", {{3, 1, "abc"},     // 0: equal bytes, other extra
                      {-1, 0, ""},       // 1: new in the altered set
                      {4, 2, "gone"},    // 2: gone from the altered set
                      {-1, 3, ""},       // 3: -1 against 0
                      {0, 4, ""},        // 4: 0 against 0
                      {4, 5, "same"},    // 5: same size, other bytes
                      {3, 6, "abc"},     // 6: the same beginning, another size
                      {-1, 7, ""},       // 7: -1 against -1, other extras
                      {-1, 8, ""}});     // 8: -1 against another negative
    WriteArt("new", {{3, 100, "abc"},
                     {4, 101, "new!"},
                     {-1, 102, ""},
                     {0, 103, ""},
                     {0, 104, ""},
                     {4, 105, "sAme"},
                     {4, 106, "abcd"},
                     {-1, 107, ""},
                     {-5, 108, ""}});
    // An equal block leaves whatever the patch held in its slot.
    StoreBlock(kArt, 0, 2, 77, Text("pp"));
    StoreBlock(kArt, 7, 2, 78, Text("qq"));
    const int64_t dataBefore = DataFileHandle.Size();

    CompareArt();
    ExpectSlot(kArt, 0, 2, 77, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 0), Text("pp"));
    ExpectSlot(kArt, 1, 4, 101, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 1), Text("new!"));
    ExpectSlot(kArt, 2, -1, 102, false);
    ExpectSlot(kArt, 3, 0, 103, false);
    ExpectAbsent(kArt, 4);
    ExpectSlot(kArt, 5, 4, 105, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 5), Text("sAme"));
    ExpectSlot(kArt, 6, 4, 106, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 6), Text("abcd"));
    ExpectSlot(kArt, 7, 2, 78, true);
    ExpectSlot(kArt, 8, -5, 108, false);  // the altered Size as it came
    // Past both IDX files the records are zeros on both sides: equal.
    ExpectAbsent(kArt, 9);
    ExpectAbsent(kArt, 65536);
    EXPECT_EQ(PatchBlocks[kArt].Count, 8);
    // Only the three altered blocks with bytes were written.
    EXPECT_EQ(DataFileHandle.Size() - dataBefore, 12);
    EXPECT_TRUE(LogLines().empty());
    // The walk covers the whole type: events after 20000, 40000 and 60000 blocks.
    EXPECT_EQ(percents, (std::vector<int32_t>{30, 61, 91}));
}

TEST_F(CompareTest, IdenticalSetsChangeNothing) {
    WriteArt("base", {{3, 1, "abc"}, {-1, 2, ""}, {0, 3, ""}});
    WriteArt("new", {{3, 9, "abc"}, {-1, 9, ""}, {0, 9, ""}});
    StoreBlock(kArt, 1, 1, 5, Text("x"));
    PatchBlocks[kArt].Count = 1;
    const int64_t dataBefore = DataFileHandle.Size();
    CompareArt();
    ExpectSlot(kArt, 1, 1, 5, true);
    EXPECT_EQ(PatchBlocks[kArt].Count, 1);
    EXPECT_EQ(DataFileHandle.Size(), dataBefore);
}

TEST_F(CompareTest, HuesCompareSourceGroupsAndStoreTheVerdataForm) {
    // Three groups; group 1 differs in a colour, group 2 only in its header,
    // which the verdata form drops, but the comparison is on the 708 bytes.
    auto hueFile = [](int changedGroup, int at, uint8_t value) {
        ByteArray file;
        for (int group = 0; group < 3; ++group) {
            ByteArray g = Counting(708, 7 * group);
            if (group == changedGroup) g[static_cast<size_t>(at)] = value;
            file.insert(file.end(), g.begin(), g.end());
        }
        return file;
    };
    test::WriteFile(Path("hues1.mul"), hueFile(-1, 0, 0));
    ByteArray altered = hueFile(1, 4 + 88 + 5, 0xEE);  // hue 1 of group 1
    for (size_t i = 2 * 708; i < 2 * 708 + 4; ++i) altered[i] ^= 0xFF;  // group 2's header
    test::WriteFile(Path("hues2.mul"), altered);

    CompareMUL(Path("hues1.mul"), "", Path("hues2.mul"), "", kHues);
    ExpectAbsent(kHues, 0);
    ExpectSlot(kHues, 1, 1220, -1, true);
    ExpectSlot(kHues, 2, 1220, -1, true);
    ExpectAbsent(kHues, 3);
    EXPECT_EQ(PatchBlocks[kHues].Count, 2);

    // Stored in the verdata form (its layout is ExportTest's), from the altered group.
    ByteArray group1(altered.begin() + 708, altered.begin() + 2 * 708), expected;
    ToVerdataHues(group1, expected);
    EXPECT_EQ(ReadBlockBytes(kHues, 1), expected);
    EXPECT_EQ(ReadBlockBytes(kHues, 1)[4 + 152 + 5], 0xEE);
}

// A Map file shorter than the other, an IDX file shorter or missing: the hostile corpus.
TEST_F(CompareTest, TiledataByItsTwoSections) {
    // Tiledata by its two sections: group 3 at 836 bytes, group 600 at 1188
    // bytes from 428032 + 88 times 1188.
    ByteArray tiles = Counting(428032 + 512 * 1188, 3);
    test::WriteFile(Path("tiles1.mul"), tiles);
    tiles[3 * 836 + 835] ^= 0x80;
    const size_t group600 = 428032 + 88 * 1188;
    tiles[group600 + 1187] ^= 0x80;
    test::WriteFile(Path("tiles2.mul"), tiles);
    CompareMUL(Path("tiles1.mul"), "", Path("tiles2.mul"), "", kTiledata);
    ExpectSlot(kTiledata, 3, 836, -1, true);
    EXPECT_EQ(ReadBlockBytes(kTiledata, 3), ByteArray(tiles.begin() + 3 * 836, tiles.begin() + 4 * 836));
    ExpectSlot(kTiledata, 600, 1188, -1, true);
    EXPECT_EQ(ReadBlockBytes(kTiledata, 600),
              ByteArray(tiles.begin() + static_cast<std::ptrdiff_t>(group600),
                        tiles.begin() + static_cast<std::ptrdiff_t>(group600 + 1188)));
    EXPECT_EQ(PatchBlocks[kTiledata].Count, 2);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(CompareTest, MissingFilesAndFailures) {
    WriteArt("base", {{2, 1, "ab"}, {-1, 2, ""}});
    WriteArt("new", {{2, 1, "ab"}, {2, 2, "cd"}});
    PatchBlocks[kArt].Count = 42;
    CompareMUL(Path("none.mul"), Path("base.idx"), Path("new.mul"), Path("new.idx"), kArt);
    CompareMUL(Path("base.mul"), Path("base.idx"), "", Path("new.idx"), kArt);
    ExpectAbsent(kArt, 1);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
    EXPECT_TRUE(LogLines().empty());

    // A record beyond its MUL file on the base side fails at block 2: block 1
    // stays stored, Count is not recomputed.
    Bytes idx;
    idx.record(0, 2, 1).record(-1, -1, 2).record(0, 5000, 3);
    test::WriteFile(Path("base.idx"), idx.b);
    CompareArt();
    EXPECT_TRUE(Logged("mMuls.CompareMUL"));
    ExpectSlot(kArt, 1, 2, 2, true);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
}

TEST(SameBytesTest, WalksTheFirstArray) {
    EXPECT_TRUE(SameBytes({}, {}));
    EXPECT_TRUE(SameBytes({}, {1, 2}));
    EXPECT_TRUE(SameBytes({1, 2, 3}, {1, 2, 3}));
    EXPECT_TRUE(SameBytes({1, 2, 3}, {1, 2, 3, 4}));
    EXPECT_FALSE(SameBytes({1, 2, 3}, {0, 2, 3}));
    EXPECT_FALSE(SameBytes({1, 2, 3}, {1, 2, 4}));
    EXPECT_THROW(SameBytes({1, 2, 3}, {1, 2}), Failure);
}

}  // namespace
}  // namespace quillet
