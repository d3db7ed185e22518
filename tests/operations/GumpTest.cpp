#include <gtest/gtest.h>

#include <functional>

#include "core/mPatch.h"
#include "operations/FakePicture.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mGumps.h"

namespace quillet {
namespace {

using namespace test;
using RGB = PixelSource::RGB;

const RGB kBlack{0, 0, 0};
const RGB kRed{255, 0, 0};

using GumpTest = test::OperationsTest;

TEST_F(GumpTest, TwoPicturesReplacingTheSlot) {
    // 4 by 2, all black: row starts 2 and 3, then one run (0, 4) per row.
    Gump_LoadBMP(FakePicture(4, 2, [](int32_t, int32_t) { return kBlack; }), 0x10);
    ExpectSlot(kGumps, 16, 16, 262146, true);
    EXPECT_EQ(ReadBlockBytes(kGumps, 16), Bytes().le(2).le(3).le16(0).le16(4).le16(0).le16(4).b);
    const int32_t first = Slot(kGumps, 16).Offset;

    // 3 by 1, red, black, black: row start 1, runs (31744, 1) and (0, 2).
    Gump_LoadBMP(FakePicture({{kRed, kBlack, kBlack}}), 0x10);
    ExpectSlot(kGumps, 16, 12, 0x30001, true);
    EXPECT_EQ(ReadBlockBytes(kGumps, 16), Bytes().le(1).le16(31744).le16(1).le16(0).le16(2).b);
    EXPECT_GT(Slot(kGumps, 16).Offset, first);
    EXPECT_EQ(PatchBlocks[kGumps].Count, 1);

    // The largest picture side that Extra holds, at the last block.
    Gump_LoadBMP(FakePicture(32767, 1, [](int32_t x, int32_t) { return x < 2 ? kRed : kBlack; }), 65535);
    ExpectSlot(kGumps, 65535, 12, 0x7FFF0001, true);
    EXPECT_EQ(ReadBlockBytes(kGumps, 65535), Bytes().le(1).le16(31744).le16(2).le16(0).le16(32765).b);
    EXPECT_EQ(PatchBlocks[kGumps].Count, 2);
    EXPECT_TRUE(LogLines().empty());
    // No counting point: the events never run.
    EXPECT_TRUE(percents.empty());
}

TEST_F(GumpTest, RunsFollowTheConvertedColour) {
    // Grey 8 and grey 9 give the same colour (1057) and share a run; grey 4
    // gives 0, as black does; then pure green and pure blue.
    Gump_LoadBMP(FakePicture({{{8, 8, 8}, {9, 9, 9}, {4, 4, 4}, kBlack, {0, 248, 0}, {0, 0, 248}}}), 0);
    EXPECT_EQ(ReadBlockBytes(kGumps, 0),
              Bytes().le(1).le16(1057).le16(2).le16(0).le16(2).le16(992).le16(1).le16(31).le16(1).b);

    // Rows of 1, 3 and 2 runs: each row opens with its own first pixel, also
    // when it starts with the colour the row before ended with.
    const RGB w{255, 255, 255};
    Gump_LoadBMP(FakePicture({{w, w, w, w}, {w, kRed, kRed, w}, {w, kBlack, kBlack, kBlack}}), 1);
    ExpectSlot(kGumps, 1, 4 * (3 + 6), 0x40003, true);
    EXPECT_EQ(ReadBlockBytes(kGumps, 1), Bytes()
                                             .le(3).le(4).le(7)
                                             .le16(32767).le16(4)
                                             .le16(32767).le16(1).le16(31744).le16(2).le16(32767).le16(1)
                                             .le16(32767).le16(1).le16(0).le16(3)
                                             .b);
}

TEST_F(GumpTest, RefusalsLeaveSlotAndDataFileAlone) {
    StoreBlock(kGumps, 5, 2, 99, Text("ab"));
    const PatchBlock before = Slot(kGumps, 5);
    const int64_t dataBefore = DataFileHandle.Size();
    const auto black = [](int32_t, int32_t) { return kBlack; };

    const std::vector<std::pair<int32_t, int32_t>> badSizes{{32768, 1}, {1, 32768}, {0, 3}, {3, 0}};
    for (const auto& [width, height] : badSizes) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        const size_t linesBefore = LogLines().size();
        Gump_LoadBMP(FakePicture(width, height, black), 5);
        ASSERT_EQ(LogLines().size(), linesBefore + 1);
        EXPECT_TRUE(Logged("mGumps.Gump_LoadBMP"));
    }
    for (const int32_t block : {65536, -1}) {
        const size_t linesBefore = LogLines().size();
        Gump_LoadBMP(FakePicture(2, 2, black), block);
        EXPECT_EQ(LogLines().size(), linesBefore + 1) << block;
    }
    EXPECT_EQ(Slot(kGumps, 5).Size, before.Size);
    EXPECT_EQ(Slot(kGumps, 5).Extra, before.Extra);
    EXPECT_EQ(Slot(kGumps, 5).Offset, before.Offset);
    EXPECT_EQ(DataFileHandle.Size(), dataBefore);
    PatchBlocks[kGumps].Count = 42;  // no recount on the failure path
    Gump_LoadBMP(FakePicture(1, 32768, black), 5);
    EXPECT_EQ(PatchBlocks[kGumps].Count, 42);
}

TEST_F(GumpTest, RowStartsBeyondThreeBytesAreRefused) {
    // 32767 by 513 pixels of alternating colour: row 512 would start at unit
    // 513 + 512 * 32767 = 16777217, which the 3 bytes of its entry cannot hold.
    const int64_t dataBefore = DataFileHandle.Size();
    Gump_LoadBMP(FakePicture(32767, 513, [](int32_t x, int32_t) { return x % 2 == 0 ? kRed : kBlack; }), 3);
    EXPECT_TRUE(Logged("mGumps.Gump_LoadBMP"));
    ExpectAbsent(kGumps, 3);
    EXPECT_EQ(DataFileHandle.Size(), dataBefore);
}

}  // namespace
}  // namespace quillet
