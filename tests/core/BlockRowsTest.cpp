#include "core/BlockRows.h"

#include <gtest/gtest.h>

#include <climits>

#include "common/TestEnv.h"
#include "core/mPatch.h"

namespace quillet {
namespace {

// Upper case, without padding or prefix, 64 bits wide; the file names of
// exported blocks are FileID and block so written.
TEST(BlockRows, HexTextAndDatFileNames) {
    EXPECT_EQ(HexText(0), "0");
    EXPECT_EQ(HexText(10), "A");
    EXPECT_EQ(HexText(0xFFFFFFFFu), "FFFFFFFF");
    EXPECT_EQ(HexText(0xABCDEF0123456789ull), "ABCDEF0123456789");
    EXPECT_EQ(DatFileName(12, 500), "C_1F4.dat");
    EXPECT_EQ(DatFileName(32, 0), "20_0.dat");
    EXPECT_EQ(DatFileName(129, 65535), "81_FFFF.dat");
    EXPECT_EQ(DatFileName(4, 65536), "4_10000.dat");  // Art's last block: more than 16 bits
}

TEST(BlockRows, RowColumnsFollowTheList) {
    BlockRow row = MakeBlockRow(26, PatchBlock{1234, 0x1F4, 1});
    EXPECT_EQ(row.Key, "A26");
    EXPECT_EQ(row.ID, "1A");
    EXPECT_EQ(row.Size, "1234");
    EXPECT_EQ(row.Flags, "1F4");

    // Size: -1 shows as 0, 0 as 0, any other negative as itself.
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{-1, 0, 0}).Size, "0");
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{0, 0, 0}).Size, "0");
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{-5, 0, 0}).Size, "-5");

    // Flags: a negative Extra shows its 32-bit pattern, always 8 digits.
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{1, -1, 1}).Flags, "FFFFFFFF");
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{1, INT32_MIN, 1}).Flags, "80000000");
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{1, -256, 1}).Flags, "FFFFFF00");
    EXPECT_EQ(MakeBlockRow(0, PatchBlock{1, 0, 1}).Flags, "0");

    row = MakeBlockRow(65536, PatchBlock{});
    EXPECT_EQ(row.Key, "A65536");
    EXPECT_EQ(row.ID, "10000");
}

TEST(BlockRows, KeyGivesTheBlockBackOrMinusOne) {
    EXPECT_EQ(BlockFromRowKey(BlockRowKey(0)), 0);
    EXPECT_EQ(BlockFromRowKey(BlockRowKey(4096)), 4096);
    EXPECT_EQ(BlockFromRowKey("A393215"), 393215);
    EXPECT_EQ(BlockFromRowKey(""), -1);
    EXPECT_EQ(BlockFromRowKey("A"), -1);
    EXPECT_EQ(BlockFromRowKey("Ax"), -1);
    EXPECT_EQ(BlockFromRowKey("A12x"), -1);
    EXPECT_EQ(BlockFromRowKey("A-3"), -1);
    EXPECT_EQ(BlockFromRowKey("A99999999999"), -1);
}

using BlockRowsTest = test::PatchTest;

TEST_F(BlockRowsTest, ListedBlocksArePresentInRisingOrderUpToTheLastSlot) {
    const ByteArray bytes{1, 2, 3};
    StoreBlock(4, 65536, 3, 0, bytes);  // Art's highest block
    StoreBlock(4, 26, 3, 0, bytes);
    StoreBlock(4, 0, -1, 0, nullptr);  // present and empty is listed too
    StoreBlock(12, 7, 3, 0, bytes);
    EXPECT_EQ(ListedBlocks(4), (std::vector<int32_t>{0, 26, 65536}));
    EXPECT_EQ(ListedBlocks(12), (std::vector<int32_t>{7}));
    EXPECT_TRUE(ListedBlocks(8).empty());
    EXPECT_TRUE(ListedBlocks(1).empty());  // an unused row has no slots
    EXPECT_TRUE(ListedBlocks(-1).empty());
    EXPECT_TRUE(ListedBlocks(256).empty());

    Slot(4, 26).Offset = -1;
    EXPECT_EQ(ListedBlocks(4), (std::vector<int32_t>{0, 65536}));
}

}  // namespace
}  // namespace quillet
