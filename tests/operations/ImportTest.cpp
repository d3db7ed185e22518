#include <gtest/gtest.h>

#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Counting;
using test::ExpectAbsent;
using test::ExpectSlot;
using test::Text;

constexpr int kMap = 0;
constexpr int kArt = 4;
constexpr int kTiledata = 30;
constexpr int kHues = 32;

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

TEST_F(ImportTest, SizeMinusTwoEndsTheWalk) {
    Bytes idx;
    idx.record(0, 2, 1).record(-1, -1, 2).record(0, -2, 3).record(0, 2, 4);
    test::WriteFile(Path("art.idx"), idx.b);
    test::WriteFile(Path("art.mul"), Text("xy"));
    StoreBlock(kArt, 2, 1, 20, Text("2"));
    StoreBlock(kArt, 9, 1, 90, Text("9"));

    LoadMUL(Path("art.mul"), Path("art.idx"), kArt, 0, 400000);
    ExpectSlot(kArt, 0, 2, 1, true);
    ExpectSlot(kArt, 1, -1, 2, false);
    ExpectSlot(kArt, 2, 1, 20, true);  // the stop leaves its own slot alone
    ExpectAbsent(kArt, 3);             // and everything after it
    ExpectSlot(kArt, 9, 1, 90, true);
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

    // A record that asks for more than the MUL file holds fails at that
    // block: what came before stays, Count keeps its old value.
    Bytes idx;
    idx.record(0, 2, 5).record(0, 1000000, 6).record(0, 2, 7);
    test::WriteFile(Path("bad.idx"), idx.b);
    test::WriteFile(Path("bad.mul"), Text("ok"));
    LoadMUL(Path("bad.mul"), Path("bad.idx"), kArt, 0, 2);
    ExpectSlot(kArt, 0, 2, 5, true);
    ExpectSlot(kArt, 1, 1, 0, true);
    ExpectAbsent(kArt, 2);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);

    LoadTiledata(Path("art.mul"), -5, 3);
    EXPECT_TRUE(Logged("mMuls.LoadTiledata"));
    ExpectAbsent(kTiledata, 0);
}

TEST_F(ImportTest, ConstantSizeTypesMapAndHues) {
    // Map: 196-byte blocks, Extra -1, a file of 2 blocks read as zeros past its end.
    test::WriteFile(Path("map.mul"), Counting(2 * 196, 1));
    LoadMUL(Path("map.mul"), "", kMap, 1, 2);
    ExpectAbsent(kMap, 0);
    ExpectSlot(kMap, 1, 196, -1, true);
    EXPECT_EQ(ReadBlockBytes(kMap, 1), Counting(196, 1 + 196));
    ExpectSlot(kMap, 2, 196, -1, true);
    EXPECT_EQ(ReadBlockBytes(kMap, 2), ByteArray(196, 0));
    EXPECT_EQ(PatchBlocks[kMap].Count, 2);

    // Hues: groups of 708 bytes (a header and 8 hues of 88) become 1220 bytes:
    // a zero header, and each hue's 88 bytes followed by 64 zeros.
    Bytes hues;
    for (int group = 0; group < 4; ++group) {
        hues.le(0x0BADF00D);  // header, not carried over
        for (int hue = 0; hue < 8; ++hue) hues.raw(ByteArray(88, static_cast<uint8_t>(16 * group + hue + 1)));
    }
    test::WriteFile(Path("hues.mul"), hues.b);
    LoadMUL(Path("hues.mul"), "", kHues, 3, 400000);
    ExpectSlot(kHues, 3, 1220, -1, true);
    ByteArray expected(4, 0);
    for (int hue = 0; hue < 8; ++hue) {
        expected.insert(expected.end(), 88, static_cast<uint8_t>(16 * 3 + hue + 1));
        expected.insert(expected.end(), 64, uint8_t{0});
    }
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

TEST_F(TiledataTest, SecondSectionAlwaysStartsAt512) {
    LoadTiledata(Path("tiledata.mul"), 600, 700);
    ExpectStored(512, 700);  // not 600 to 700
    EXPECT_EQ(ReadBlockBytes(kTiledata, 512)[0], 0x00);
    EXPECT_EQ(ReadBlockBytes(kTiledata, 512)[1], 0x02);  // 512, from file position 428032
}

TEST_F(TiledataTest, FirstSectionOnly) {
    LoadTiledata(Path("tiledata.mul"), 100, 300);
    ExpectStored(100, 300);
}

TEST_F(TiledataTest, SectionBoundary) {
    LoadTiledata(Path("tiledata.mul"), 500, 511);
    ExpectStored(500, 511);
    PatchDispose();
    PatchNew();
    LoadTiledata(Path("tiledata.mul"), 510, 512);
    ExpectStored(510, 512);
    PatchDispose();
    PatchNew();
    LoadTiledata(Path("tiledata.mul"), 0, 400000);
    ExpectStored(0, 1023);
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
