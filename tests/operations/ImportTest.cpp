#include <gtest/gtest.h>

#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/mHues.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using namespace test;

class ImportTest : public test::OperationsTest {
protected:
    // A sparse Art pair of 5 records, far fewer than Art's 65537: a real
    // block, an empty record, a record of Size 0, another real block, and an
    // empty record again. The MUL file holds the blocks in reverse order.
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
};

TEST_F(ImportTest, SparseArtFillsEveryWalkedSlot) {
    WriteSparseArt();
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 0, 400000);

    ExpectSlot(kArt, 0, 5, 0x1234, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 0), Text("hello"));
    ExpectSlot(kArt, 1, -1, 7, false);
    ExpectSlot(kArt, 2, -1, 9, false);  // Size 0 in the source, -1 in the patch
    ExpectSlot(kArt, 3, 3, -1, true);
    EXPECT_EQ(ReadBlockBytes(kArt, 3), Text("abc"));
    ExpectSlot(kArt, 4, -1, 0, false);
    // Past the end of the IDX file the records read as zeros: present, empty.
    ExpectSlot(kArt, 5, -1, 0, false);
    ExpectSlot(kArt, 65536, -1, 0, false);
    EXPECT_EQ(PatchBlocks[kArt].Count, 65537);
    // Only the two real blocks cost bytes in the DataFile.
    EXPECT_EQ(DataFileHandle.Size(), 8);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ImportTest, LimitsAddToThePatchAndRecount) {
    WriteSparseArt();
    StoreBlock(kArt, 100, 2, 55, Text("zz"));
    StoreBlock(kArt, 3, 1, 66, Text("q"));
    const int32_t oldOffset = Slot(kArt, 3).Offset;

    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 1, 3);
    ExpectAbsent(kArt, 0);
    ExpectSlot(kArt, 1, -1, 7, false);
    ExpectSlot(kArt, 2, -1, 9, false);
    ExpectSlot(kArt, 3, 3, -1, true);  // overwritten, new bytes
    EXPECT_NE(Slot(kArt, 3).Offset, oldOffset);
    EXPECT_EQ(ReadBlockBytes(kArt, 3), Text("abc"));
    ExpectAbsent(kArt, 4);
    ExpectSlot(kArt, 100, 2, 55, true);  // outside the range: untouched
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);

    // The same block again: a new Offset, the same Count.
    const int32_t before = Slot(kArt, 3).Offset;
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 3, 3);
    EXPECT_GT(Slot(kArt, 3).Offset, before);
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);

    // A range upside down, or beyond the type, stores nothing; Count is still recomputed.
    PatchBlocks[kArt].Count = 99;
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 10, 5);
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);
    PatchBlocks[kArt].Count = 99;
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 65537, 400000);
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ImportTest, MissingSourcesAndFailures) {
    WriteSparseArt();
    StoreBlock(kArt, 1, 1, 0, Text("k"));
    PatchBlocks[kArt].Count = 42;  // a stale count shows whether a recount ran

    // A MUL file that is missing (or not named) ends the call before anything.
    LoadMUL(Path("none.mul"), Path("art.idx"), kArt, 0, 400000);
    LoadMUL("", Path("art.idx"), kArt, 0, 400000);
    LoadTiledata(Path("none.mul"), 0, 1023);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
    ExpectAbsent(kArt, 0);
    ExpectAbsent(kTiledata, 0);
    EXPECT_TRUE(LogLines().empty());

    // A negative FromBlock is a failure: logged, nothing stored, no recount.
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, -1, 3);
    EXPECT_TRUE(Logged("mMuls.LoadMUL"));
    ExpectAbsent(kArt, 0);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);

}

// Size -2, cut records, short Map files: the hostile corpus.
TEST_F(ImportTest, HuesGroupsBecomeTheirVerdataForm) {
    // Groups of 708 bytes become their 1220-byte verdata form.
    const ByteArray hues = Counting(4 * 708, 9);
    test::WriteFile(Path("hues.mul"), hues);
    LoadMUL(Path("hues.mul"), "", kHues, 3, 400000);
    ExpectSlot(kHues, 3, 1220, -1, true);
    ByteArray expected;
    ToVerdataHues(ByteArray(hues.begin() + 3 * 708, hues.end()), expected);
    EXPECT_EQ(ReadBlockBytes(kHues, 3), expected);
    // Past the end of the file: a group of zeros, converted all the same.
    ExpectSlot(kHues, 374, 1220, -1, true);
    EXPECT_EQ(ReadBlockBytes(kHues, 374), ByteArray(1220, 0));
    EXPECT_EQ(PatchBlocks[kHues].Count, 372);
    EXPECT_TRUE(LogLines().empty());
}

class TiledataTest : public ImportTest {
protected:
    // 512 groups of 836 bytes, then 512 of 1188; every group starts with its
    // Block number and its section's size, the rest counting bytes.
    void SetUp() override {
        ImportTest::SetUp();
        Bytes file;
        for (int32_t block = 0; block < 1024; ++block) {
            const int32_t size = block < 512 ? 836 : 1188;
            file.le(block).le(size).raw(Counting(static_cast<size_t>(size - 8), block));
        }
        ASSERT_EQ(file.b.size(), 428032u + 512u * 1188u);
        test::WriteFile(Path("tiledata.mul"), file.b);
        tiledata = file.b;
    }

    ByteArray Group(int32_t block) const {
        const size_t start = block < 512 ? 836u * block : 428032u + 1188u * (block - 512);
        const size_t size = block < 512 ? 836 : 1188;
        return ByteArray(tiledata.begin() + static_cast<std::ptrdiff_t>(start),
                         tiledata.begin() + static_cast<std::ptrdiff_t>(start + size));
    }

    void ExpectStored(int32_t first, int32_t last) {
        for (int32_t block = 0; block <= 1023; ++block) {
            SCOPED_TRACE(block);
            const PatchBlock& slot = Slot(kTiledata, block);
            if (block < first || block > last) {
                ASSERT_EQ(slot.Offset, -1);
                continue;
            }
            ASSERT_EQ(slot.Size, block < 512 ? 836 : 1188);
            ASSERT_EQ(slot.Extra, -1);
            ASSERT_EQ(ReadBlockBytes(kTiledata, block), Group(block));
        }
        EXPECT_EQ(PatchBlocks[kTiledata].Count, last - first + 1);
    }

    ByteArray tiledata;
};

// The second section always starts at 512: a range inside it takes all of
// it from 512 on.
TEST_F(TiledataTest, RangesAndTheSectionBoundary) {
    const struct {
        int32_t from, to, firstStored, lastStored;
    } cases[] = {{600, 700, 512, 700}, {100, 300, 100, 300}, {500, 511, 500, 511}, {510, 512, 510, 512},
                 {0, 400000, 0, 1023}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.from) + " to " + std::to_string(c.to));
        PatchDispose();
        PatchNew();
        LoadTiledata(Path("tiledata.mul"), c.from, c.to);
        ExpectStored(c.firstStored, c.lastStored);
    }
    EXPECT_EQ(ReadBlockBytes(kTiledata, 512)[1], 0x02);  // 512, from file position 428032
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ImportTest, CountingPointEvery20000Blocks) {
    // An empty IDX: 65537 walked blocks, all present and empty; the events
    // run after blocks 19999, 39999 and 59999, with Block / NbrOfBlocks in percent.
    test::WriteFile(Path("art.idx"), {});
    test::WriteFile(Path("art.mul"), {});
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 0, 400000);
    EXPECT_EQ(percents, (std::vector<int32_t>{30, 61, 91}));
    EXPECT_EQ(PatchBlocks[kArt].Count, 65537);

    // The counter is the procedure's own: it counts walked blocks from FromBlock.
    percents.clear();
    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 50000, 400000);
    EXPECT_TRUE(percents.empty());
}

}  // namespace
}  // namespace quillet
