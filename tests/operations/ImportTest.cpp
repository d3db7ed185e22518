#include <array>

#include "core/mMuls.h"
#include "core/mPatch.h"
#include "actions/mStart.h"
#include "formats/mHues.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using namespace test;

class ImportTest : public test::OperationsTest {
protected:
    // A sparse Art pair of 5 records, far fewer than Art's 65537; the MUL file
    // holds the blocks in reverse order.
    void WriteSparseArt() {
        Bytes idx;
        idx.record(3, 5, 0x1234)  // "hello"
            .record(-1, -1, 7)
            .record(3, 0, 9)      // Size 0: no block, whatever Position says
            .record(0, 3, -1)     // "abc"
            .record(-1, -1, 0);
        test::WriteFile(Path("art.idx"), idx.b);
        test::WriteFile(Path("art.mul"), Text("abchello"));
    }
    void LoadArt(int32_t from, int32_t to) { LoadMUL(Path("art.mul"), Path("art.idx"), kArt, from, to); }
};

TEST_F(ImportTest, SparseArtFillsEveryWalkedSlot) {
    WriteSparseArt();
    LoadArt(0, HighestBlock());
    ExpectBlock(kArt, 0, 5, 0x1234, Text("hello"));
    ExpectBlock(kArt, 1, -1, 7);
    ExpectBlock(kArt, 2, -1, 9);  // Size 0 in the source, -1 in the patch
    ExpectBlock(kArt, 3, 3, -1, Text("abc"));
    ExpectBlock(kArt, 4, -1, 0);
    ExpectBlock(kArt, 5, -1, 0);  // past the end of the IDX file: zeroed records, present, empty
    ExpectBlock(kArt, 65536, -1, 0);
    EXPECT_EQ(PatchBlocks[kArt].Count, 65537);
    EXPECT_EQ(DataFileHandle.Size(), 8);  // only the two real blocks cost bytes in the DataFile
    EXPECT_EQ(percents, (std::vector<int32_t>{30, 61, 91}));  // after blocks 19999, 39999, 59999: in percent
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ImportTest, LimitsAddToThePatchAndRecount) {
    WriteSparseArt();
    StoreBlock(kArt, 100, 2, 55, Text("zz"));
    StoreBlock(kArt, 3, 1, 66, Text("q"));
    const int32_t oldOffset = Slot(kArt, 3).Offset;
    LoadArt(1, 3);
    ExpectAbsent(kArt, 0);
    ExpectBlock(kArt, 1, -1, 7);
    ExpectBlock(kArt, 2, -1, 9);
    ExpectBlock(kArt, 3, 3, -1, Text("abc"));  // overwritten, new bytes
    EXPECT_GT(Slot(kArt, 3).Offset, oldOffset);
    ExpectAbsent(kArt, 4);
    ExpectBlock(kArt, 100, 2, 55, Text("zz"));  // outside the range: untouched
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);
    // A range upside down, or beyond the type, stores nothing; Count is still recomputed.
    for (const auto& [from, to] : {std::pair{10, 5}, std::pair{81884, HighestBlock()}}) {
        PatchBlocks[kArt].Count = 99;
        LoadArt(from, to);
        EXPECT_EQ(PatchBlocks[kArt].Count, 4) << from;
    }
    EXPECT_TRUE(LogLines().empty());
    // The counting point counts walked blocks from FromBlock: 15537 are not enough.
    percents.clear();
    LoadArt(50000, HighestBlock());
    EXPECT_TRUE(percents.empty());
}

// Size -2, cut records, short Map files, a negative first block: the hostile corpus.
TEST_F(ImportTest, MissingMulFileEndsTheCallBeforeAnything) {
    WriteSparseArt();
    PatchBlocks[kArt].Count = 42;  // a stale count shows whether a recount ran
    EXPECT_TRUE(LoadMUL(Path("none.mul"), Path("art.idx"), kArt, 0, HighestBlock()));
    EXPECT_TRUE(LoadMUL("", Path("art.idx"), kArt, 0, HighestBlock()));
    EXPECT_TRUE(LoadTiledata(Path("none.mul"), 0, 1023));
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
    ExpectAbsent(kArt, 0);
    ExpectAbsent(kTiledata, 0);
    EXPECT_TRUE(LogLines().empty());
}

// An IDX file that cannot be opened (here: in a folder that does not exist)
// ends the import through its failure path, even for a range that walks no
// block at all, with Count recomputed; a whole import answers true.
TEST_F(ImportTest, IndexThatCannotBeOpenedIsAFailure) {
    WriteSparseArt();
    const std::string idx = Path("no folder/art.idx");
    for (const auto& [from, to] : {std::pair{0, 4}, std::pair{10, 5}}) {
        PatchBlocks[kArt].Count = 42;  // a stale count shows whether a recount ran
        EXPECT_FALSE(LoadMUL(Path("art.mul"), idx, kArt, from, to)) << from;
        ExpectAbsent(kArt, 0);
        EXPECT_EQ(PatchBlocks[kArt].Count, 0);
    }
    EXPECT_EQ(LogLines().size(), 2u);
    for (const std::string& line : LogLines())
        EXPECT_NE(line.find("mMuls.LoadMUL: Unable to open. " + idx + " and " + Path("art.mul") + " (" + idx +
                            ": No such file or directory.)"),
                  std::string::npos)
            << line;
    EXPECT_TRUE(LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 0, 4));
    EXPECT_EQ(PatchBlocks[kArt].Count, 5);
}

TEST_F(ImportTest, HuesGroupsBecomeTheirVerdataForm) {
    // Groups of 708 bytes become their 1220-byte verdata form (its layout: ExportTest).
    const ByteArray hues = Counting(4 * 708, 9);
    test::WriteFile(Path("hues.mul"), hues);
    LoadMUL(Path("hues.mul"), "", kHues, 3, HighestBlock());
    ByteArray expected;
    ToVerdataHues(ByteArray(hues.begin() + 3 * 708, hues.end()), expected);
    ExpectBlock(kHues, 3, 1220, -1, expected);
    ExpectBlock(kHues, 374, 1220, -1, ByteArray(1220, 0));  // past the end: zeros, converted all the same
    EXPECT_EQ(PatchBlocks[kHues].Count, 372);
    EXPECT_TRUE(LogLines().empty());
}

// 512 groups of 836 bytes, then 512 of 1188, each with its Block number in
// front. The second section always starts at 512: a range inside it takes all
// of it from 512 on.
TEST_F(ImportTest, TiledataRangesAndTheSectionBoundary) {
    Bytes tiledata;
    for (int32_t block = 0; block < 1024; ++block)
        tiledata.le(block).raw(Counting(block < 512 ? 832 : 1184, block));
    test::WriteFile(Path("tiledata.mul"), tiledata.b);
    for (const auto& [from, to, first, last] :
         std::vector<std::array<int32_t, 4>>{{600, 700, 512, 700}, {100, 300, 100, 300}, {500, 511, 500, 511},
                                             {510, 512, 510, 512}, {0, HighestBlock(), 0, 1023}}) {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        PatchDispose();
        PatchNew();
        LoadTiledata(Path("tiledata.mul"), from, to);
        for (int32_t block = 0; block <= 1023; ++block) {
            const int32_t size = block < 512 ? 836 : 1188;
            const auto at = tiledata.b.begin() + (block < 512 ? 836 * block : 428032 + 1188 * (block - 512));
            if (block < first || block > last)
                ExpectAbsent(kTiledata, block);
            else
                ExpectBlock(kTiledata, block, size, -1, ByteArray(at, at + size));
        }
        EXPECT_EQ(PatchBlocks[kTiledata].Count, last - first + 1);
    }
    EXPECT_TRUE(LogLines().empty());
}

}  // namespace
}  // namespace quillet
