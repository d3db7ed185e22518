#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/Checked.h"
#include "formats/cMUL.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Counting;

class MulTest : public ::testing::Test {
protected:
    void SetUp() override { dir = test::MakeTempDir(); }
    void TearDown() override { test::RemoveTree(dir); }
    std::string Path(const std::string& name) const { return dir + "/" + name; }
    bool Exists(const std::string& name) const { return test::Exists(Path(name)); }

    std::string dir;
};

TEST_F(MulTest, BlockTotalIsIdxLengthOverTwelveRoundedHalfToEven) {
    const std::vector<std::pair<size_t, int32_t>> cases{{0, 0},  {5, 0},  {6, 0},  {7, 1},  {12, 1},
                                                        {18, 2}, {30, 2}, {42, 4}, {54, 4}, {66, 6}};
    test::WriteFile(Path("a.mul"), {});
    for (const auto& [length, total] : cases) {
        SCOPED_TRACE(length);
        test::WriteFile(Path("a.idx"), ByteArray(length, 0xFF));
        cMUL mul;
        ASSERT_EQ(mul.cOpen(Path("a.idx"), Path("a.mul"), 0, 0, 0), 0);
        EXPECT_EQ(mul.cCount(), total);
        EXPECT_EQ(mul.cClose(), 0);
        EXPECT_EQ(mul.cCount(), 0);
        EXPECT_EQ(mul.ConstantIndex, -1);
    }
}

TEST_F(MulTest, PairModeRecordsAndShortFiles) {
    Bytes idx;
    idx.record(4, 3, 0x11)     // a real block
        .record(-1, -1, 0x22)  // the empty record
        .record(1, 0, 0x33)    // Size 0: no block, whatever Position says
        .record(5, 4, 0x44)    // runs past the end of the MUL file
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
    } reads[] = {{0, 3, 0x11, {0xA4, 0xA5, 0xA6}},
                 {1, -1, 0x22, {9, 9}},
                 {2, 0, 0x33, {9, 9}},
                 {3, 4, 0x44, {0xA5, 0xA6, 0xA7, 0}},  // zero where the file ended
                 {4, -2, 0x55, {9, 9}},
                 {5, 2, 0, {0xA2, 0xA3}},
                 {6, 0, 0, {9, 9}},  // beyond the IDX file: the zeroed record
                 {100000, 0, 0, {9, 9}}};
    for (const auto& r : reads) {
        int32_t extra = 77;
        ByteArray bytes{9, 9};
        EXPECT_EQ(mul.cLoad(r.block, extra, bytes), r.size) << r.block;
        EXPECT_EQ(extra, r.extra) << r.block;
        EXPECT_EQ(bytes, r.bytes) << r.block;
    }
    EXPECT_EQ(mul.cClose(), 0);
}

TEST_F(MulTest, ConstantSizeModeCountsFromOffsetWithExtraMinusOne) {
    test::WriteFile(Path("c.mul"), Counting(30));
    cMUL mul;
    // The IDX name is ignored here: not opened, not created.
    ASSERT_EQ(mul.cOpen(Path("never.idx"), Path("c.mul"), 4, 5, 6), 0);
    EXPECT_FALSE(Exists("never.idx"));
    EXPECT_EQ(mul.cCount(), 5);
    EXPECT_EQ(mul.Offset, 6);
    int32_t extra = 0;
    ByteArray bytes;
    for (int32_t n = 0; n < 5; ++n) {
        SCOPED_TRACE(n);
        EXPECT_EQ(mul.cLoad(n, extra, bytes), 4);
        EXPECT_EQ(extra, -1);
        EXPECT_EQ(bytes, Counting(4, 6 + 4 * n));
    }
    // Past NbrOfBlocks and past the end of the file: whole blocks, zeros where the file ended.
    EXPECT_EQ(mul.cLoad(5, extra, bytes), 4);
    EXPECT_EQ(bytes, (ByteArray{26, 27, 28, 29}));
    EXPECT_EQ(mul.cLoad(6, extra, bytes), 4);
    EXPECT_EQ(bytes, ByteArray(4, 0));
    EXPECT_EQ(mul.cLoad(1000, extra, bytes), 4);
    EXPECT_EQ(bytes, ByteArray(4, 0));

    // The same object opened again with another geometry, as the tile data
    // import does for its second section.
    EXPECT_EQ(mul.cClose(), 0);
    ASSERT_EQ(mul.cOpen("", Path("c.mul"), 3, 2, 1), 0);
    EXPECT_EQ(mul.cLoad(1, extra, bytes), 3);
    EXPECT_EQ(bytes, (ByteArray{4, 5, 6}));
    // Without a cClose in between it opens as well: only an IDX file refuses.
    ASSERT_EQ(mul.cOpen("", Path("c.mul"), 2, 1, 0), 0);
    EXPECT_EQ(mul.cLoad(1, extra, bytes), 2);
    EXPECT_EQ(bytes, (ByteArray{2, 3}));
}

TEST_F(MulTest, OpenAndCloseCodes) {
    test::WriteFile(Path("m.mul"), Counting(10));
    test::WriteFile(Path("m.idx"), Bytes{}.record(0, 2, 1).b);
    cMUL mul;
    EXPECT_EQ(mul.cOpen("", Path("m.mul"), 196, 0, 0), 502);
    EXPECT_EQ(mul.ConstantIndex, 196);  // stored before the answer
    EXPECT_EQ(mul.cCount(), 0);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("m.mul"), 0, 0, 0), 0);  // NbrOfBlocks 0 is fine for a pair
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("m.mul"), 0, 0, 0), 501);
    EXPECT_EQ(mul.cOpen("", Path("m.mul"), 4, 4, 0), 501);
    EXPECT_EQ(mul.cCount(), 1);
    EXPECT_EQ(mul.cClose(), 0);
    EXPECT_EQ(mul.cCount(), 0);
    EXPECT_EQ(mul.IDXFile, 0);
    EXPECT_EQ(mul.MULFile, 0);
    EXPECT_EQ(mul.cClose(), 0);  // closing a closed object changes nothing

    // A file that cannot be opened: 500, and nothing stays open.
    EXPECT_EQ(mul.cOpen(Path("no-dir/m.idx"), Path("m.mul"), 0, 0, 0), 500);
    EXPECT_EQ(mul.MULFile, 0);
    EXPECT_EQ(mul.cCount(), 0);
    int32_t extra = 0;
    ByteArray bytes;
    EXPECT_THROW(mul.cLoad(0, extra, bytes), Failure);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), Path("no-dir/m.mul"), 0, 0, 0), 500);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), "", 0, 0, 0), 500);
    EXPECT_EQ(mul.cOpen(Path("m.idx"), dir, 0, 0, 0), 500);  // a directory is no file

    // Missing files are created empty, as the binary mode does: no blocks.
    EXPECT_EQ(mul.cOpen(Path("new.idx"), Path("new.mul"), 0, 0, 0), 0);
    EXPECT_TRUE(Exists("new.idx"));
    EXPECT_TRUE(Exists("new.mul"));
    EXPECT_EQ(mul.cCount(), 0);
    EXPECT_EQ(mul.cLoad(3, extra, bytes), 0);
    EXPECT_EQ(mul.cClose(), 0);

    EXPECT_EQ(mul.cError(500), "Unable to open.");
    EXPECT_EQ(mul.cError(501), "Files allready opened.");
    EXPECT_EQ(mul.cError(502), "Illegal number of blocks.");
    EXPECT_EQ(mul.cError(505), "Unable to close files.");
    EXPECT_EQ(mul.cError(503), "");
    EXPECT_EQ(mul.cError(0), "");
    EXPECT_EQ(mul.Version, "0.5");
}

TEST_F(MulTest, SaveStaysInPlaceOrMovesToTheEnd) {
    test::WriteFile(Path("s.idx"), Bytes{}.record(0, 4, 1).record(4, 4, 2).b);
    test::WriteFile(Path("s.mul"), Counting(8, 0x10));
    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("s.idx"), Path("s.mul"), 0, 0, 0), 0);
    int32_t extra = 0;
    ByteArray bytes;
    ASSERT_EQ(mul.cLoad(1, extra, bytes), 4);  // fills the read windows before the writes

    mul.cSave(0, 7, {0xE0, 0xE1}, false);              // smaller: in place
    mul.cSave(1, 8, Counting(5, 0x50), false);         // larger: to the end, at 8
    mul.cSave(1, 9, Counting(5, 0x60), false);         // same size: stays at 8
    mul.cSave(2, 3, {0x77}, false);                    // beyond the IDX: old Size 0, to the end
    EXPECT_EQ(mul.cLoad(1, extra, bytes), 5);
    EXPECT_EQ(extra, 9);
    EXPECT_EQ(bytes, Counting(5, 0x60));
    EXPECT_EQ(mul.cLoad(2, extra, bytes), 1);
    EXPECT_EQ(bytes, ByteArray{0x77});
    mul.cSave(0, 5, {}, true);  // emptied: the record only
    bytes = {1};
    EXPECT_EQ(mul.cLoad(0, extra, bytes), -1);
    EXPECT_EQ(extra, 5);
    EXPECT_EQ(bytes, ByteArray{1});
    ASSERT_EQ(mul.cClose(), 0);

    EXPECT_EQ(test::ReadFile(Path("s.idx")), Bytes{}.record(-1, -1, 5).record(8, 5, 9).record(13, 1, 3).b);
    Bytes expectedMul;
    expectedMul.raw({0xE0, 0xE1, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17}).raw(Counting(5, 0x60)).raw({0x77});
    EXPECT_EQ(test::ReadFile(Path("s.mul")), expectedMul.b);
}

TEST_F(MulTest, ConstantSizeSaveHasNoIndexToEmpty) {
    test::WriteFile(Path("k.mul"), Counting(10));
    cMUL mul;
    ASSERT_EQ(mul.cOpen("", Path("k.mul"), 4, 2, 2), 0);
    mul.cSave(1, 0, {0xA, 0xB, 0xC}, false);  // fits: at 2 + 4
    mul.cSave(1, 0, {}, true);                // no index: nothing at all
    mul.cSave(0, 0, Counting(5, 0xF0), false);  // grown: to the end
    ASSERT_EQ(mul.cClose(), 0);
    Bytes expected;
    expected.raw({0, 1, 2, 3, 4, 5, 0xA, 0xB, 0xC, 9}).raw(Counting(5, 0xF0));
    EXPECT_EQ(test::ReadFile(Path("k.mul")), expected.b);
}

TEST_F(MulTest, HostileRecordsFailOrReadAsZerosWithoutHugeAllocations) {
    test::WriteFile(Path("h.mul"), Counting(100));
    Bytes idx;
    idx.record(0, 101, 0)            // 0: larger than the whole MUL file
        .record(0, 0x7FFFFFFF, 0)    // 1
        .record(50, 100, 1)          // 2: as large as the file, half past its end
        .record(-1, 4, 0)            // 3: before the start of the file
        .record(0x7FFFFFFF, 4, 2)    // 4: far past the end
        .record(-5, 0x7FFFFFFF, 3);  // 5
    test::WriteFile(Path("h.idx"), idx.b);
    const ByteArray idxBefore = idx.b;

    cMUL mul;
    ASSERT_EQ(mul.cOpen(Path("h.idx"), Path("h.mul"), 0, 0, 0), 0);
    int32_t extra = 0;
    ByteArray bytes{9};
    EXPECT_THROW(mul.cLoad(0, extra, bytes), Failure);
    EXPECT_THROW(mul.cLoad(1, extra, bytes), Failure);
    EXPECT_EQ(bytes, ByteArray{9});  // nothing allocated
    EXPECT_EQ(mul.cLoad(2, extra, bytes), 100);
    ByteArray half = Counting(50, 50);
    half.resize(100, 0);
    EXPECT_EQ(bytes, half);
    EXPECT_THROW(mul.cLoad(3, extra, bytes), Failure);
    EXPECT_EQ(mul.cLoad(4, extra, bytes), 4);
    EXPECT_EQ(bytes, ByteArray(4, 0));
    EXPECT_THROW(mul.cLoad(5, extra, bytes), Failure);
    EXPECT_THROW(mul.cLoad(-1, extra, bytes), Failure);
    EXPECT_THROW(mul.cLoad(178956971, extra, bytes), Failure);  // 12 times that passes 2^31 - 1
    EXPECT_EQ(mul.cLoad(178956970, extra, bytes), 0);            // the last record position there is
    // A refused save writes nothing.
    EXPECT_THROW(mul.cSave(3, 0, {1, 2}, false), Failure);
    EXPECT_THROW(mul.cSave(-1, 0, {1}, false), Failure);
    // The object is still good after its failures.
    EXPECT_EQ(mul.cLoad(2, extra, bytes), 100);
    EXPECT_EQ(extra, 1);
    ASSERT_EQ(mul.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("h.idx")), idxBefore);
    EXPECT_EQ(test::ReadFile(Path("h.mul")), Counting(100));

    ASSERT_EQ(mul.cOpen("", Path("h.mul"), 1000, 10, 2147483000), 0);
    EXPECT_EQ(mul.cLoad(0, extra, bytes), 1000);
    EXPECT_EQ(bytes, ByteArray(1000, 0));
    EXPECT_THROW(mul.cLoad(1, extra, bytes), Failure);  // position overflow
    EXPECT_THROW(mul.cLoad(-3000000, extra, bytes), Failure);
    ASSERT_EQ(mul.cClose(), 0);
    EXPECT_THROW(mul.cLoad(0, extra, bytes), Failure);  // nothing open
}

// A walk over many records, forward, backward and with saves in between,
// against what the test itself put into the files: the read windows must give
// exactly what one positioned read per record and per block gives.
TEST_F(MulTest, WalksReadExactlyWhatTheRecordsSay) {
    constexpr int32_t kRecords = 3000;
    uint32_t seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return seed >> 8;
    };
    std::vector<int32_t> sizes(kRecords);
    std::vector<int32_t> positions(kRecords, -1);
    std::vector<ByteArray> blocks(kRecords);
    for (int32_t i = 0; i < kRecords; ++i) {
        // Some empty records, some blocks larger than a read window, most small.
        const uint32_t kind = next() % 50;
        sizes[i] = kind < 5 ? -1 : kind < 10 ? 0 : kind == 10 ? static_cast<int32_t>(70000 + next() % 1000)
                                                               : static_cast<int32_t>(1 + next() % 400);
        if (sizes[i] > 0) {
            blocks[i].resize(static_cast<size_t>(sizes[i]));
            for (auto& byte : blocks[i]) byte = static_cast<uint8_t>(next());
        }
    }
    // Blocks lie in the MUL file in an order of their own: even numbers first, odd ones after.
    ByteArray mulFile;
    for (int pass = 0; pass < 2; ++pass)
        for (int32_t i = pass; i < kRecords; i += 2)
            if (sizes[i] > 0) {
                positions[i] = static_cast<int32_t>(mulFile.size());
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
        const int32_t size = mul.cLoad(i, extra, bytes);
        EXPECT_EQ(size, sizes[i]) << i;
        EXPECT_EQ(extra, i * 3) << i;
        if (sizes[i] > 0)
            EXPECT_EQ(bytes, blocks[i]) << i;
        else
            EXPECT_EQ(bytes, ByteArray{7}) << i;
    };
    for (int32_t i = 0; i < kRecords; ++i) check(i);
    for (int32_t i = kRecords - 1; i >= 0; --i) check(i);
    for (int32_t i = 0; i < kRecords; i += 7) check(i);
    // Saves in the middle of a walk: what comes after sees the new bytes.
    for (int32_t i = 0; i < kRecords; ++i) {
        check(i);
        if (i % 500 == 250) {
            blocks[i] = Counting(static_cast<size_t>(std::max(sizes[i], 0)) + 3, i);
            sizes[i] = static_cast<int32_t>(blocks[i].size());
            mul.cSave(i, i * 3, blocks[i], false);
            check(i);
            check(i + 1);
        }
    }
    EXPECT_EQ(mul.cClose(), 0);

    // Constant size: a map-like file of 196-byte blocks that ends inside block 2999.
    ByteArray map(196 * 2999 + 100);
    for (size_t i = 0; i < map.size(); ++i) map[i] = static_cast<uint8_t>(i * 31 + i / 196);
    test::WriteFile(Path("map.mul"), map);
    ASSERT_EQ(mul.cOpen("", Path("map.mul"), 196, 3199, 0), 0);
    for (int32_t n = 0; n < 3200; ++n) {
        int32_t extra = 0;
        ByteArray bytes;
        ASSERT_EQ(mul.cLoad(n, extra, bytes), 196);
        ByteArray expected(196, 0);
        for (size_t k = 0; k < 196; ++k) {
            const size_t at = static_cast<size_t>(n) * 196 + k;
            if (at < map.size()) expected[k] = map[at];
        }
        ASSERT_EQ(bytes, expected) << n;
    }
    EXPECT_EQ(mul.cClose(), 0);
}

}  // namespace
}  // namespace quillet
