#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "base/Checked.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "formats/cMUL.h"
#include "formats/cTiledata.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Counting;

class MulTest : public ::testing::Test {
protected:
    void SetUp() override { dir = test::MakeTempDir(); }
    void TearDown() override { test::RemoveTree(dir); }
    std::string Path(const std::string& name) const { return dir + "/" + name; }
    std::string dir;
};

TEST_F(MulTest, PairModeRecordsAndShortFiles) {
    Bytes idx;
    idx.record(4, 3, 0x11)     // a real block
        .record(-1, -1, 0x22)  // the empty record
        .record(1, 0, 0x33)    // Size 0: no block, whatever Position says
        .record(5, 4, 0x44)    // runs past the end of the MUL file: zeros there
        .record(0, -2, 0x55)   // -2 is the caller's business
        .le(2).raw({2, 0});    // record cut after 6 bytes: Size 2, Extra 0
    test::WriteFile(Path("p.idx"), idx.b);
    test::WriteFile(Path("p.mul"), Counting(8, 0xA0));

    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("p.idx"), Path("p.mul"), 0, 0, 0), 0);
    EXPECT_EQ(mul.cCount(), 6);  // 66 bytes: 5.5 records
    // Without bytes to read the array is left alone: {9, 9} stays.
    const struct {
        int32_t block, size, extra;
        ByteArray bytes;
    } reads[] = {{0, 3, 0x11, {0xA4, 0xA5, 0xA6}}, {1, -1, 0x22, {9, 9}}, {2, 0, 0x33, {9, 9}},
                 {3, 4, 0x44, {0xA5, 0xA6, 0xA7, 0}}, {4, -2, 0x55, {9, 9}}, {5, 2, 0, {0xA2, 0xA3}},
                 {6, 0, 0, {9, 9}}, {100000, 0, 0, {9, 9}}};  // from 6 on: beyond the IDX file, zeroed records
    for (const auto& r : reads) {
        int32_t extra = 77;
        ByteArray bytes{9, 9};
        EXPECT_EQ(mul.cLoad(r.block, extra, bytes), r.size) << r.block;
        EXPECT_EQ(extra, r.extra) << r.block;
        EXPECT_EQ(bytes, r.bytes) << r.block;
    }
}

TEST_F(MulTest, OpenCountAndCloseCodes) {
    // BlockTotal: the IDX length over 12, rounded half to even.
    const std::vector<std::pair<size_t, int32_t>> totals{{5, 0}, {6, 0}, {7, 1}, {18, 2}, {30, 2}, {42, 4}, {66, 6}};
    test::WriteFile(Path("m.mul"), Counting(10));
    cMUL mul;
    for (const auto& [length, total] : totals) {
        test::WriteFile(Path("m.idx"), ByteArray(length, 0xFF));
        ASSERT_EQ(mul.cOpen(Path("m.idx"), Path("m.mul"), 0, 0, 0), 0);
        EXPECT_EQ(mul.cCount(), total) << length;
        EXPECT_EQ(mul.cClose(), 0);
    }
    test::WriteFile(Path("m.idx"), Bytes{}.record(0, 2, 1).b);
    EXPECT_EQ(mul.cOpen("", Path("m.mul"), 196, 0, 0), 502);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("m.mul"), 0, 0, 0), 0);  // NbrOfBlocks 0 is fine for a pair
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("m.mul"), 0, 0, 0), 501);
    EXPECT_EQ(mul.cOpen("", Path("m.mul"), 4, 4, 0), 501);
    EXPECT_EQ(mul.cCount(), 1);
    EXPECT_EQ(mul.cClose(), 0);
    EXPECT_EQ(mul.cClose(), 0);  // closing a closed object changes nothing
    EXPECT_EQ(mul.cCount(), 0);

    // A file that cannot be opened: 500, and nothing stays open.
    EXPECT_EQ(mul.cOpen(Path("no-dir/m.idx"), Path("m.mul"), 0, 0, 0), 500);
    EXPECT_EQ(mul.cCount(), 0);
    int32_t extra = 0;
    ByteArray bytes;
    EXPECT_THROW(mul.cLoad(0, extra, bytes), Failure);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("no-dir/m.mul"), 0, 0, 0), 500);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), dir, 0, 0, 0), 500);  // a directory is no file

    // The client's files are only read: a missing one is not made, it is a
    // file that cannot be opened, and Why names it.
    EXPECT_EQ(mul.cOpen(Path("new.idx"), Path("m.mul"), 0, 0, 0), 500);
    EXPECT_EQ(mul.Why, Path("new.idx") + ": No such file or directory.");
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("new.mul"), 0, 0, 0), 500);
    EXPECT_FALSE(test::Exists(Path("new.idx")) || test::Exists(Path("new.mul")));
    EXPECT_EQ(mul.cCount(), 0);
}

TEST_F(MulTest, SaveStaysInPlaceOrMovesToTheEnd) {
    test::WriteFile(Path("s.idx"), Bytes{}.record(0, 4, 1).record(4, 4, 2).b);
    test::WriteFile(Path("s.mul"), Counting(8, 0x10));
    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("s.idx"), Path("s.mul"), 0, 0, 0), 0);
    int32_t extra = 0;
    ByteArray bytes;
    ASSERT_EQ(mul.cLoad(1, extra, bytes), 4);  // fills the read windows before the writes
    mul.cSave(0, 7, {0xE0, 0xE1}, false);       // smaller: in place
    mul.cSave(1, 8, Counting(5, 0x50), false);  // larger: to the end, at 8
    mul.cSave(1, 9, Counting(5, 0x60), false);  // same size: stays at 8
    mul.cSave(2, 3, {0x77}, false);             // beyond the IDX: old Size 0, to the end
    EXPECT_EQ(mul.cLoad(1, extra, bytes), 5);
    EXPECT_EQ(extra, 9);
    EXPECT_EQ(bytes, Counting(5, 0x60));
    mul.cSave(0, 5, {}, true);  // emptied: the record only
    bytes = {1};
    EXPECT_EQ(mul.cLoad(0, extra, bytes), -1);
    EXPECT_EQ(extra, 5);
    EXPECT_EQ(bytes, ByteArray{1});
    ASSERT_EQ(mul.cClose(), 0);

    EXPECT_EQ(test::ReadFile(Path("s.idx")), Bytes{}.record(-1, -1, 5).record(8, 5, 9).record(13, 1, 3).b);
    EXPECT_EQ(test::ReadFile(Path("s.mul")),
              Bytes{}.raw({0xE0, 0xE1, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17}).raw(Counting(5, 0x60)).u8(0x77).b);
}

// Sizes and positions beyond the MUL file: the hostile corpus, through LoadMUL.
// Here record numbers and positions that overflow, and refused saves.
TEST_F(MulTest, RecordNumbersAndPositionsThatOverflowFail) {
    test::WriteFile(Path("h.mul"), Counting(100));
    const ByteArray idx = Bytes{}.record(50, 100, 1).record(-1, 4, 0).b;
    test::WriteFile(Path("h.idx"), idx);
    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("h.idx"), Path("h.mul"), 0, 0, 0), 0);
    int32_t extra = 0;
    ByteArray bytes;
    EXPECT_THROW(mul.cLoad(-1, extra, bytes), Failure);
    EXPECT_THROW(mul.cLoad(178956971, extra, bytes), Failure);  // 12 times that passes 2^31 - 1
    EXPECT_EQ(mul.cLoad(178956970, extra, bytes), 0);            // the last record position there is
    // A refused save writes nothing.
    EXPECT_THROW(mul.cSave(1, 0, {1, 2}, false), Failure);  // at a negative Position
    EXPECT_THROW(mul.cSave(-1, 0, {1}, false), Failure);
    EXPECT_EQ(mul.cLoad(0, extra, bytes), 100);
    EXPECT_EQ(bytes, Bytes{}.raw(Counting(50, 50)).fill(50, 0).b);  // still good after its failures
    ASSERT_EQ(mul.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("h.idx")), idx);
    EXPECT_EQ(test::ReadFile(Path("h.mul")), Counting(100));

    ASSERT_EQ(mul.cOpen("", Path("h.mul"), 1000, 10, 2147483000), 0);
    EXPECT_EQ(mul.cLoad(0, extra, bytes), 1000);
    EXPECT_EQ(bytes, ByteArray(1000, 0));
    EXPECT_THROW(mul.cLoad(1, extra, bytes), Failure);  // position overflow
    EXPECT_THROW(mul.cLoad(-3000000, extra, bytes), Failure);
}

// A walk over many records, forward, backward and by leaps, against what the
// test itself put into the files: the read windows must give exactly what one
// positioned read per record gives.
TEST_F(MulTest, WalksReadExactlyWhatTheRecordsSay) {
    constexpr int32_t kRecords = 3000;
    uint32_t seed = 12345;
    auto next = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 8; };
    std::vector<int32_t> sizes(kRecords), positions(kRecords, -1);
    std::vector<ByteArray> blocks(kRecords);
    for (int32_t i = 0; i < kRecords; ++i) {  // some empty, some larger than a read window, most small
        const uint32_t kind = next() % 50;
        sizes[i] = kind < 5 ? -1 : kind < 10 ? 0 : static_cast<int32_t>(kind == 10 ? 70000 + next() % 1000
                                                                                   : 1 + next() % 400);
        if (sizes[i] > 0) blocks[i].resize(static_cast<size_t>(sizes[i]));
        for (auto& byte : blocks[i]) byte = static_cast<uint8_t>(next());
    }
    // Blocks lie in the MUL file in an order of their own: even numbers first, odd ones after.
    ByteArray mulFile;
    for (int32_t k = 0; k < kRecords; ++k) {
        const int32_t i = k < kRecords / 2 ? 2 * k : 2 * (k - kRecords / 2) + 1;
        if (sizes[i] > 0) positions[i] = static_cast<int32_t>(mulFile.size());
        mulFile.insert(mulFile.end(), blocks[i].begin(), blocks[i].end());
    }
    Bytes idx;
    for (int32_t i = 0; i < kRecords; ++i) idx.record(positions[i], sizes[i], i * 3);
    test::WriteFile(Path("w.idx"), idx.b);
    test::WriteFile(Path("w.mul"), mulFile);

    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("w.idx"), Path("w.mul"), 0, 0, 0), 0);
    ASSERT_EQ(mul.cCount(), kRecords);
    auto check = [&](int32_t i) {
        int32_t extra = 0;
        ByteArray bytes{7};
        EXPECT_EQ(mul.cLoad(i, extra, bytes), sizes[i]) << i;
        EXPECT_EQ(extra, i * 3) << i;
        EXPECT_EQ(bytes, sizes[i] > 0 ? blocks[i] : ByteArray{7}) << i;
    };
    for (int32_t i = 0; i < kRecords; ++i) check(i);
    for (int32_t i = kRecords - 1; i >= 0; --i) check(i);
    for (int32_t i = 0; i < kRecords; i += 7) check(i);
}

// Constant size: a map-like file of 196-byte blocks from Offset 6 on, that
// ends inside block 2999, the first one past NbrOfBlocks.
TEST_F(MulTest, ConstantSizeModeCountsFromOffsetWithExtraMinusOne) {
    ByteArray map(6 + 196 * 2999 + 100);
    for (size_t i = 0; i < map.size(); ++i) map[i] = static_cast<uint8_t>(i * 31 + i / 196);
    test::WriteFile(Path("map.mul"), map);
    map.resize(6 + 196 * 3200, 0);  // zeros where the file ended
    cMUL mul;
    // The IDX name is ignored here: not opened, not created.
    ASSERT_EQ(mul.cOpen(Path("never.idx"), Path("map.mul"), 196, 2999, 6), 0);
    EXPECT_FALSE(test::Exists(Path("never.idx")));
    EXPECT_EQ(mul.cCount(), 2999);
    int32_t extra = 0;
    ByteArray bytes;
    for (int32_t n = 0; n < 3200; ++n) {
        ASSERT_EQ(mul.cLoad(n, extra, bytes), 196);
        ASSERT_EQ(extra, -1);
        ASSERT_EQ(bytes, ByteArray(map.begin() + 6 + 196 * n, map.begin() + 6 + 196 * (n + 1))) << n;
    }
    // Opened again with another geometry, without a cClose in between, as the
    // tile data import does for its second section: only an IDX file refuses.
    ASSERT_EQ(mul.cOpen("", Path("map.mul"), 3, 2, 1), 0);
    EXPECT_EQ(mul.cLoad(1, extra, bytes), 3);
    EXPECT_EQ(bytes, ByteArray(map.begin() + 4, map.begin() + 7));
}

// What a file speaks for: its records (rounded as BlockTotal), or the blocks
// that begin before its end; with WholeBlocks only the blocks it holds whole.
TEST_F(MulTest, ExtentCountsTheBlockNumbersAFileSpeaksFor) {
    test::WriteFile(Path("e.idx"), Bytes{}.record(-1, -1, 0).record(0, 1, 0).record(0, 1, 0).fill(7, 0).b);
    test::WriteFile(Path("e.mul"), Counting(1000));
    cMUL mul;
    EXPECT_EQ(mul.cExtent(), 0);  // nothing open
    ASSERT_EQ(mul.cOpen(Path("e.idx"), Path("e.mul"), 0, 0, 0), 0);
    EXPECT_EQ(mul.cExtent(), 4);  // 43 bytes: 3.58 records
    ASSERT_EQ(mul.cClose(), 0);
    for (const bool whole : {false, true}) {
        mul.WholeBlocks = whole;
        ASSERT_EQ(mul.cOpen("", Path("e.mul"), 196, 1, 6), 0);  // 994 bytes from 6 on: 5 blocks and 14 bytes
        EXPECT_EQ(mul.cExtent(), whole ? 5 : 6);
        EXPECT_EQ(mul.cBlocksIn(4, 100), whole ? 1 : 2);
        int32_t extra = 0;
        ByteArray bytes;
        EXPECT_EQ(mul.cLoad(5, extra, bytes), 196);  // read as ever: what is there, then zeros
        EXPECT_EQ(bytes, Bytes{}.raw(Counting(14, static_cast<uint8_t>(6 + 5 * 196))).fill(182, 0).b);
    }
}

TEST(TiledataLayoutTest, TheSizeTellsTheLayout) {
    // The classic size; the three High Seas sizes and any other whole number of
    // item groups; sizes of neither, read in the classic layout.
    for (const int64_t size : {1167360, 1841152, 3188736, 493568 + 1316})
        EXPECT_STREQ(TiledataLayoutOf(size).Name, "High Seas") << size;
    for (const int64_t size : {1036288, 0, 493568, 493568 - 1316, 1036288 + 1188, 3188736 + 1})
        EXPECT_STREQ(TiledataLayoutOf(size).Name, "classic") << size;
    EXPECT_TRUE(FitsATiledataLayout(1036288) && FitsATiledataLayout(3188736) && FitsATiledataLayout(494884));
    EXPECT_FALSE(FitsATiledataLayout(1036288 + 1188) || FitsATiledataLayout(0) || FitsATiledataLayout(493568));
}

// Runs of blocks compared as runs of bytes: only blocks that lie back to back
// within both files are, and each difference names its block.
TEST_F(MulTest, RunsCompareWholeRunsAndNameTheBlocksThatDiffer) {
    ByteArray one = Counting(196 * 40);
    ByteArray two = one;
    two[196 * 3 + 195] ^= 1;  // the last byte of block 3
    two[196 * 4] ^= 1;        // the first of block 4
    two[196 * 39 + 7] ^= 1;
    test::WriteFile(Path("a.mul"), one);
    test::WriteFile(Path("b.mul"), two);
    cMUL a, b, c;
    ASSERT_EQ(a.cOpen("", Path("a.mul"), 196, 40, 0), 0);
    ASSERT_EQ(b.cOpen("", Path("b.mul"), 196, 40, 0), 0);
    RunDifferences differing;
    ASSERT_TRUE(a.cCompareRun(b, 0, 40, differing));
    EXPECT_EQ(differing.Blocks, (std::vector<int32_t>{3, 4, 39}));
    // The other side's bytes of each, as it holds them.
    ASSERT_EQ(differing.At.size(), 3u);
    for (size_t k = 0; k < 3; ++k) {
        const auto from = two.begin() + 196 * differing.Blocks[k];
        ASSERT_GE(differing.At[k], 0);
        EXPECT_EQ(ByteArray(differing.OtherBytes.begin() + differing.At[k], differing.OtherBytes.begin() + differing.At[k] + 196),
                  ByteArray(from, from + 196));
    }
    ASSERT_TRUE(a.cCompareRun(b, 5, 30, differing));
    EXPECT_TRUE(differing.Blocks.empty());
    EXPECT_FALSE(a.cCompareRun(b, 30, 11, differing));  // block 40 lies past both ends
    ASSERT_EQ(c.cOpen("", Path("b.mul"), 98, 80, 0), 0);
    EXPECT_FALSE(a.cCompareRun(c, 0, 10, differing));  // another block size

    // Pairs: the same Sizes, bytes at other positions; an empty record in
    // between; a gap, or Sizes that differ, leave the run to the walk.
    test::WriteFile(Path("p.mul"), Counting(30));
    ByteArray moved = Counting(30);
    moved.insert(moved.begin(), 10, uint8_t{0xEE});
    moved[10 + 12] ^= 1;  // in the third block (bytes 10..19 of the run)
    test::WriteFile(Path("q.mul"), moved);
    test::WriteFile(Path("p.idx"), Bytes{}.record(0, 10, 1).record(-1, -1, 0).record(10, 10, 2).record(20, 10, 3).b);
    test::WriteFile(Path("q.idx"), Bytes{}.record(10, 10, 9).record(-1, -1, 0).record(20, 10, 9).record(30, 10, 9).b);
    test::WriteFile(Path("g.idx"), Bytes{}.record(0, 10, 1).record(-1, -1, 0).record(12, 8, 2).record(20, 10, 3).b);
    test::WriteFile(Path("s.idx"), Bytes{}.record(0, 10, 1).record(-1, 0, 0).record(10, 10, 2).record(20, 10, 3).b);
    cMUL p, q, gap, sizes;
    ASSERT_EQ(p.cOpen(Path("p.idx"), Path("p.mul"), 0, 0, 0), 0);
    ASSERT_EQ(q.cOpen(Path("q.idx"), Path("q.mul"), 0, 0, 0), 0);
    ASSERT_EQ(gap.cOpen(Path("g.idx"), Path("p.mul"), 0, 0, 0), 0);
    ASSERT_EQ(sizes.cOpen(Path("s.idx"), Path("p.mul"), 0, 0, 0), 0);
    ASSERT_TRUE(p.cCompareRun(q, 0, 4, differing));
    EXPECT_EQ(differing.Blocks, std::vector<int32_t>{2});
    EXPECT_EQ(ByteArray(differing.OtherBytes.begin() + differing.At[0], differing.OtherBytes.end()),
              ByteArray(moved.begin() + 20, moved.begin() + 30));
    EXPECT_FALSE(p.cCompareRun(gap, 0, 4, differing));
    EXPECT_FALSE(p.cCompareRun(sizes, 0, 4, differing));
    EXPECT_FALSE(p.cCompareRun(q, 0, 5, differing));  // record 4 lies past both index files
    EXPECT_FALSE(p.cCompareRun(a, 0, 4, differing));  // a pair against a file of fixed-size blocks
}

// A run longer than the piece compared at a time: a block that differs on
// both sides of a piece's end is named once, and the equal block after it not
// at all. A file cut short after it was opened leaves the run to the walk.
TEST_F(MulTest, RunsNameABlockAcrossPiecesOnceAndLeaveAFileCutShortToTheWalk) {
    const ByteArray one = Counting(1000 * 300);  // the first piece ends within block 262
    ByteArray two = one;
    two[262100] ^= 1;
    two[262200] ^= 1;
    two[299005] ^= 1;
    test::WriteFile(Path("a.mul"), one);
    test::WriteFile(Path("b.mul"), two);
    cMUL a, b;
    ASSERT_EQ(a.cOpen("", Path("a.mul"), 1000, 300, 0), 0);
    ASSERT_EQ(b.cOpen("", Path("b.mul"), 1000, 300, 0), 0);
    RunDifferences differing;
    ASSERT_TRUE(a.cCompareRun(b, 0, 300, differing));
    EXPECT_EQ(differing.Blocks, (std::vector<int32_t>{262, 299}));
    ASSERT_EQ(differing.At.size(), 2u);
    EXPECT_EQ(differing.At[0], -1);  // never whole in one piece: read again by the caller
    ASSERT_GE(differing.At[1], 0);
    EXPECT_EQ(ByteArray(differing.OtherBytes.begin() + differing.At[1], differing.OtherBytes.begin() + differing.At[1] + 1000),
              ByteArray(two.begin() + 299000, two.end()));

    ASSERT_EQ(::truncate(Path("b.mul").c_str(), 100000), 0);
    EXPECT_FALSE(a.cCompareRun(b, 0, 300, differing));
    EXPECT_FALSE(b.cCompareRun(a, 0, 300, differing));
}

// Runs for an import: the heads of blocks that follow each other within the
// file, their bytes in one stream; anything the walk must look at one block
// at a time ends the run before it.
TEST_F(MulTest, LoadRunTakesBlocksThatFollowEachOtherWithinTheFile) {
    const auto heads = [](const std::vector<BlockHead>& run) {
        std::vector<std::pair<int32_t, int32_t>> out;
        for (const BlockHead& head : run) out.emplace_back(head.Size, head.Extra);
        return out;
    };
    const auto runBytes = [](BlockReader& source, size_t count) {
        ByteArray bytes(count + 1, 0xFF);
        source.cData().Read(bytes.data(), count);
        return ByteArray(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    };
    test::WriteFile(Path("p.mul"), Counting(40));
    test::WriteFile(Path("p.idx"), Bytes{}
                                       .record(0, 10, 1)
                                       .record(-1, -1, 2)  // no bytes: part of the run
                                       .record(10, 5, 3)
                                       .record(20, 5, 4)   // a gap: the run ends before it
                                       .record(25, 10, 5)
                                       .record(0, -2, 6)   // the walk's end
                                       .record(35, 10, 7)  // cut by the end of the file
                                       .b);
    cMUL pair;
    ASSERT_EQ(pair.cOpen(Path("p.idx"), Path("p.mul"), 0, 0, 0), 0);
    std::vector<BlockHead> run;
    ASSERT_EQ(pair.cLoadRun(0, 7, 1 << 20, run), 3);
    EXPECT_EQ(heads(run), (std::vector<std::pair<int32_t, int32_t>>{{10, 1}, {-1, 2}, {5, 3}}));
    const ByteArray all = Counting(40);
    EXPECT_EQ(runBytes(pair, 15), ByteArray(all.begin(), all.begin() + 15));
    ASSERT_EQ(pair.cLoadRun(3, 7, 1 << 20, run), 2);
    EXPECT_EQ(runBytes(pair, 15), ByteArray(all.begin() + 20, all.begin() + 35));
    EXPECT_EQ(pair.cLoadRun(5, 2, 1 << 20, run), 0);  // -2 first: the walk's to tell
    EXPECT_EQ(pair.cLoadRun(6, 1, 1 << 20, run), 0);  // past the end: the walk notes it
    EXPECT_EQ(pair.cLoadRun(7, 5, 1 << 20, run), 0);  // no record at all
    ASSERT_EQ(pair.cLoadRun(0, 7, 12, run), 2);        // the bytes' limit, after at least one block
    ASSERT_EQ(pair.cLoadRun(0, 7, 1, run), 2);
    EXPECT_EQ(heads(run), (std::vector<std::pair<int32_t, int32_t>>{{10, 1}, {-1, 2}}));

    // Fixed-size blocks: whole blocks within the file, at most Count and the bytes' limit.
    cMUL fixed;
    ASSERT_EQ(fixed.cOpen("", Path("p.mul"), 6, 100, 2), 0);  // blocks at 2, 8, ... 32; 38 is cut
    ASSERT_EQ(fixed.cLoadRun(1, 100, 1 << 20, run), 5);
    EXPECT_EQ(heads(run), (std::vector<std::pair<int32_t, int32_t>>(5, {6, -1})));
    EXPECT_EQ(runBytes(fixed, 30), ByteArray(all.begin() + 8, all.begin() + 38));
    EXPECT_EQ(fixed.cLoadRun(1, 3, 1 << 20, run), 3);
    EXPECT_EQ(fixed.cLoadRun(1, 100, 13, run), 2);
    EXPECT_EQ(fixed.cLoadRun(6, 100, 1 << 20, run), 0);
}

// Tile data in runs: each section on its own, the numbers the file's; a run
// of the land groups stops where the item groups begin.
TEST_F(MulTest, TiledataRunsKeepToTheirSection) {
    ByteArray one = Counting(static_cast<size_t>(kClassicTiledataSize));
    ByteArray two = one;
    two[kClassicTiledata.ItemStart - 1] ^= 1;                               // the last land group, 511
    two[kClassicTiledata.ItemStart + 1188 * 3] ^= 1;                        // item group 3: block 515
    test::WriteFile(Path("a.mul"), one);
    test::WriteFile(Path("b.mul"), two);
    cTiledata a, b;
    ASSERT_EQ(a.cOpen(Path("a.mul")), 0);
    ASSERT_EQ(b.cOpen(Path("b.mul")), 0);
    RunDifferences differing;
    ASSERT_TRUE(a.cCompareRun(b, 500, 100, differing));
    EXPECT_EQ(differing.Blocks, (std::vector<int32_t>{511, 515}));
    ASSERT_EQ(differing.At.size(), 2u);
    EXPECT_EQ(ByteArray(differing.OtherBytes.begin() + differing.At[1], differing.OtherBytes.begin() + differing.At[1] + 1188),
              ByteArray(two.begin() + kClassicTiledata.ItemStart + 1188 * 3, two.begin() + kClassicTiledata.ItemStart + 1188 * 4));
    std::vector<BlockHead> run;
    EXPECT_EQ(a.cLoadRun(500, 100, 1 << 20, run), 12);  // 500 .. 511
    EXPECT_EQ(run.front().Size, 836);
    EXPECT_EQ(a.cLoadRun(512, 600, 1 << 20, run), 512);  // every item group
    EXPECT_EQ(run.back().Size, 1188);
}

}  // namespace
}  // namespace quillet
