#include "actions/mStart.h"
#include "base/Checked.h"
#include "base/Warnings.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/mHues.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using namespace test;

// An Art pair: records in order, their bytes back to back in the MUL file.
struct ArtRecord {
    int32_t size, extra;  // a Size of -1, 0 or another negative: no bytes
    std::string bytes;
};

class CompareTest : public test::OperationsTest {
protected:
    void WriteArt(const std::string& name, const std::vector<ArtRecord>& records) {
        Bytes idx;
        std::string mul;
        for (const ArtRecord& record : records) {
            idx.record(record.size > 0 ? static_cast<int32_t>(mul.size()) : -1, record.size, record.extra);
            if (record.size > 0) mul += record.bytes;
        }
        test::WriteFile(Path(name + ".idx"), idx.b);
        test::WriteFile(Path(name + ".mul"), Text(mul));
    }
    bool CompareArt() { return CompareMUL(Path("base.mul"), Path("base.idx"), Path("new.mul"), Path("new.idx"), kArt); }
};

TEST_F(CompareTest, StoresTheAlteredSideOfWhatDiffers) {
    // 0: equal bytes, other extra; 1: new in the altered set; 2: gone from it; 3: -1 against 0;
    // 4: 0 against 0; 5: same size, other bytes; 6: the same beginning, another size;
    // 7: -1 against -1, other extras; 8: -1 against another negative.
    WriteArt("base", {{3, 1, "abc"}, {-1, 0, ""}, {4, 2, "gone"}, {-1, 3, ""}, {0, 4, ""}, {4, 5, "same"},
                      {3, 6, "abc"}, {-1, 7, ""}, {-1, 8, ""}});
    WriteArt("new", {{3, 100, "abc"}, {4, 101, "new!"}, {-1, 102, ""}, {0, 103, ""}, {0, 104, ""},
                     {4, 105, "sAme"}, {4, 106, "abcd"}, {-1, 107, ""}, {-5, 108, ""}});
    // An equal block leaves whatever the patch held in its slot.
    StoreBlock(kArt, 0, 2, 77, Text("pp"));
    StoreBlock(kArt, 7, 2, 78, Text("qq"));
    const int64_t dataBefore = DataFileHandle.Size();
    EXPECT_TRUE(CompareArt());
    ExpectBlock(kArt, 0, 2, 77, Text("pp"));
    ExpectBlock(kArt, 1, 4, 101, Text("new!"));
    ExpectBlock(kArt, 2, -1, 102);
    ExpectBlock(kArt, 3, 0, 103);
    ExpectAbsent(kArt, 4);
    ExpectBlock(kArt, 5, 4, 105, Text("sAme"));
    ExpectBlock(kArt, 6, 4, 106, Text("abcd"));
    ExpectBlock(kArt, 7, 2, 78, Text("qq"));
    ExpectBlock(kArt, 8, -5, 108);  // the altered Size as it came
    ExpectAbsent(kArt, 9);
    ExpectAbsent(kArt, 65536);
    EXPECT_EQ(PatchBlocks[kArt].Count, 8);
    EXPECT_EQ(DataFileHandle.Size() - dataBefore, 12);  // only the three altered blocks with bytes
    EXPECT_TRUE(LogLines().empty());
    EXPECT_EQ(percents, (std::vector<int32_t>{30, 61, 91}));  // the walk covers the whole type
    // A block beyond the end of its MUL file on the base side reads as zeros
    // there, and is told as a warning that names the file: "ab" and zeros
    // against "abzz" differ.
    PatchDispose();
    PatchNew();
    test::WriteFile(Path("cut.idx"), Bytes{}.record(0, 4, 1).b);
    test::WriteFile(Path("cut.mul"), Text("ab"));
    test::WriteFile(Path("whole.idx"), Bytes{}.record(0, 4, 2).b);
    test::WriteFile(Path("whole.mul"), Text("abzz"));
    {
        const WarningWatch warnings;
        EXPECT_TRUE(CompareMUL(Path("cut.mul"), Path("cut.idx"), Path("whole.mul"), Path("whole.idx"), kArt));
        ExpectBlock(kArt, 0, 4, 2, Text("abzz"));
        EXPECT_EQ(warnings.Texts(),
                  std::vector<std::string>{Path("cut.mul") + ": 1 block reaches past the end of "
                                                             "the file; the missing bytes were read as zeros."});
    }
    // A record at a negative position fails at block 2: block 1 stays
    // stored, and Count says so.
    PatchDispose();
    PatchNew();
    PatchBlocks[kArt].Count = 42;  // a stale count shows whether a recount ran
    test::WriteFile(Path("base.idx"), Bytes{}.record(0, 3, 1).record(-1, -1, 2).record(-7, 5, 3).b);
    EXPECT_FALSE(CompareArt());
    EXPECT_TRUE(Logged("mMuls.CompareMUL"));
    ExpectBlock(kArt, 1, 4, 101, Text("new!"));
    EXPECT_EQ(PatchBlocks[kArt].Count, 1);
    // No altered MUL file: the call ends before anything.
    PatchBlocks[kArt].Count = 42;
    EXPECT_TRUE(CompareMUL(Path("base.mul"), Path("base.idx"), "", Path("new.idx"), kArt));
    ExpectAbsent(kArt, 0);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
    // An altered IDX file that cannot be opened ends the call through its
    // failure path, under the altered side's names and why, before any block.
    const std::string noIdx = Path("no folder/new.idx");
    const size_t linesBefore = LogLines().size();
    EXPECT_FALSE(CompareMUL(Path("base.mul"), Path("base.idx"), Path("new.mul"), noIdx, kArt));
    ASSERT_EQ(LogLines().size(), linesBefore + 1);
    EXPECT_NE(LogLines().back().find("mMuls.CompareMUL: Unable to open. " + noIdx + " and " + Path("new.mul") + " (" +
                                     noIdx + ": No such file or directory.)"),
              std::string::npos)
        << LogLines().back();
    ExpectAbsent(kArt, 0);
    EXPECT_EQ(PatchBlocks[kArt].Count, 1);
}

// Blocks of one byte: the byte itself decides, as for any longer block.
TEST_F(CompareTest, OneByteBlocksDifferByTheirByte) {
    WriteArt("base", {{1, 1, "a"}, {1, 2, "c"}, {1, 3, std::string(1, '\0')}});
    WriteArt("new", {{1, 11, "b"}, {1, 12, "c"}, {1, 13, std::string(1, '\xFF')}});
    EXPECT_TRUE(CompareArt());
    ExpectBlock(kArt, 0, 1, 11, Text("b"));
    ExpectAbsent(kArt, 1);
    ExpectBlock(kArt, 2, 1, 13, ByteArray{0xFF});
    EXPECT_EQ(PatchBlocks[kArt].Count, 2);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(CompareTest, HuesCompareSourceGroupsAndStoreTheVerdataForm) {
    // Group 1 differs in a colour, group 2 only in the header the verdata form drops: still a difference.
    const ByteArray base = Counting(3 * 708, 7);
    ByteArray altered = base;
    altered[708 + 4 + 88 + 5] = 0xEE;                                   // hue 1 of group 1
    for (size_t i = 2 * 708; i < 2 * 708 + 4; ++i) altered[i] ^= 0xFF;  // group 2's header
    test::WriteFile(Path("hues1.mul"), base);
    test::WriteFile(Path("hues2.mul"), altered);
    CompareMUL(Path("hues1.mul"), "", Path("hues2.mul"), "", kHues);
    // Stored in the verdata form (its layout is ExportTest's), from the altered groups.
    ByteArray group1;
    ToVerdataHues(ByteArray(altered.begin() + 708, altered.begin() + 2 * 708), group1);
    ExpectAbsent(kHues, 0);
    ExpectBlock(kHues, 1, 1220, -1, group1);
    ExpectSlot(kHues, 2, 1220, -1, true);
    ExpectAbsent(kHues, 3);
    EXPECT_EQ(PatchBlocks[kHues].Count, 2);
    EXPECT_EQ(ReadBlockBytes(kHues, 1)[4 + 152 + 5], 0xEE);
}

// A Map file shorter than the other, an IDX file short or missing, no base file: the hostile corpus.
TEST_F(CompareTest, TiledataByItsTwoSections) {
    // Group 3 at 836 bytes, group 600 at 1188 bytes from 428032 + 88 times 1188.
    ByteArray tiles = Counting(428032 + 512 * 1188, 3);
    test::WriteFile(Path("tiles1.mul"), tiles);
    const auto group3 = tiles.begin() + 3 * 836, group600 = tiles.begin() + 428032 + 88 * 1188;
    group3[835] ^= 0x80;
    group600[1187] ^= 0x80;
    test::WriteFile(Path("tiles2.mul"), tiles);
    CompareMUL(Path("tiles1.mul"), "", Path("tiles2.mul"), "", kTiledata);
    ExpectBlock(kTiledata, 3, 836, -1, ByteArray(group3, group3 + 836));
    ExpectBlock(kTiledata, 600, 1188, -1, ByteArray(group600, group600 + 1188));
    EXPECT_EQ(PatchBlocks[kTiledata].Count, 2);
    EXPECT_TRUE(LogLines().empty());
}

TEST(SameBytesTest, WalksTheFirstArray) {
    EXPECT_TRUE(SameBytes({}, {}));
    EXPECT_TRUE(SameBytes({}, {1, 2}));
    EXPECT_TRUE(SameBytes({1, 2, 3}, {1, 2, 3, 4}));
    EXPECT_FALSE(SameBytes({1, 2, 3}, {0, 2, 3}));
    EXPECT_FALSE(SameBytes({1, 2, 3}, {1, 2, 4}));
    EXPECT_THROW(SameBytes({1, 2, 3}, {1, 2}), Failure);
}

}  // namespace
}  // namespace quillet
