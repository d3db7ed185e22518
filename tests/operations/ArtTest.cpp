// Art import: pictures made into land tiles and items, checked byte by byte
// and by decoding them again, and stored into the patch.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "base/Checked.h"
#include "core/mPatch.h"
#include "operations/FakePicture.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mArt.h"
#include "operations/mGumps.h"
#include "viewers/BlockPictures.h"

namespace quillet {
namespace {

using namespace test;
using RGB = PixelSource::RGB;

const RGB kClearRed{255, 0, 0, 0};
const RGB kBlack{0, 0, 0, 255};

uint32_t Opaque(const RGB& p) { return 0xFF000000u | uint32_t{p.Red} << 16 | uint32_t{p.Green} << 8 | p.Blue; }

BlockPicture Decode(bool land, const ByteArray& block) {
    BlockPicture picture;
    std::string why;
    EXPECT_TRUE(land ? DecodeArtLand(block, picture, why) : DecodeArtItem(block, picture, why)) << why;
    return picture;
}

TEST(ArtEncodeTest, LandTileRoundTrip) {
    // Channels that are multiples of 8 come back as they were; transparent
    // and black pixels become colour 0, opaque black; the corners are not read.
    const auto pixel = [](int32_t x, int32_t y) -> RGB {
        if (std::abs(2 * x - 43) + std::abs(2 * y - 43) > 44) return {1, 2, 3, 255};
        if ((x + y) % 11 == 0) return kClearRed;
        if ((x + y) % 13 == 0) return kBlack;
        return {static_cast<uint8_t>(8 * ((x + y) % 32)), static_cast<uint8_t>(8 * (x % 32)),
                static_cast<uint8_t>(8 * (y % 32)), 255};
    };
    const ByteArray block = EncodeArtLand(FakePicture(44, 44, pixel));
    ASSERT_EQ(block.size(), 2048u);
    EXPECT_EQ(ByteArray(block.begin() + 2024, block.end()), ByteArray(24, 0));
    const BlockPicture tile = Decode(true, block);
    for (int32_t y = 0; y < 44; ++y)
        for (int32_t x = 0; x < 44; ++x) {
            const bool inside = std::abs(2 * x - 43) + std::abs(2 * y - 43) <= 44;
            const RGB p = pixel(x, y);
            const uint32_t want = !inside ? 0 : p.Alpha == 0 ? 0xFF000000u : Opaque(p);
            ASSERT_EQ(tile.At(x, y), want) << x << "," << y;
        }
    // The first pixel of the diamond is (21, 0): red 168, green 168, blue 0.
    EXPECT_EQ(LoadU16(block.data()), 21 << 10 | 21 << 5);
}

TEST(ArtEncodeTest, ItemRoundTripWithGaps) {
    // Transparent and pure black pixels are gaps; a dark colour whose
    // channels all round to 0 stays visible as (8, 8, 8).
    const std::vector<std::vector<RGB>> rows{
        {kClearRed, {248, 0, 8, 255}, {4, 4, 4, 255}, kBlack, {1, 2, 3, 255}, {0, 248, 0, 255}},
        {kBlack, kBlack, kClearRed, kBlack, kBlack, kBlack},
        {{8, 16, 24, 255}, kClearRed, kClearRed, kClearRed, kClearRed, {248, 248, 248, 255}},
    };
    const FakePicture picture(6, 3,
                           [&](int32_t x, int32_t y) { return rows[static_cast<size_t>(y)][static_cast<size_t>(x)]; });
    const BlockPicture item = Decode(false, EncodeArtItem(picture));
    const RGB grey{8, 8, 8, 255};
    const std::vector<std::vector<RGB>> want{
        {kClearRed, {248, 0, 8, 255}, grey, kClearRed, grey, {0, 248, 0, 255}},
        {kClearRed, kClearRed, kClearRed, kClearRed, kClearRed, kClearRed},
        {{8, 16, 24, 255}, kClearRed, kClearRed, kClearRed, kClearRed, {248, 248, 248, 255}},
    };
    ASSERT_EQ(item.Width, 6);
    ASSERT_EQ(item.Height, 3);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 6; ++x) {
            const RGB& p = want[static_cast<size_t>(y)][static_cast<size_t>(x)];
            EXPECT_EQ(item.At(x, y), p.Alpha == 0 ? 0 : Opaque(p)) << x << "," << y;
        }
}

TEST(ArtEncodeTest, ItemBytes) {
    // 3 by 2: red, gap, green / all gaps. Row 0: skip 0 length 1, then skip 1
    // (counted from the end of the last run) length 1, end; row 1: end.
    const FakePicture picture(3, 2, [](int32_t x, int32_t y) -> RGB {
        if (y == 1 || x == 1) return kClearRed;
        return x == 0 ? RGB{255, 0, 0, 255} : RGB{0, 255, 0, 255};
    });
    // clang-format off
    EXPECT_EQ(EncodeArtItem(picture), Bytes()
                                          .le(0).le16(3).le16(2)
                                          .le16(0).le16(8)
                                          .le16(0).le16(1).le16(0x7C00).le16(1).le16(1).le16(0x03E0).le16(0).le16(0)
                                          .le16(0).le16(0)
                                          .b);
    // clang-format on
    // A single pixel; and an all-gap picture keeps its size.
    EXPECT_EQ(EncodeArtItem(FakePicture(1, 1,
                                     [](int32_t, int32_t) {
                                         return RGB{0, 0, 248, 255};
                                     })),
              Bytes().le(0).le16(1).le16(1).le16(0).le16(0).le16(1).le16(31).le16(0).le16(0).b);
    EXPECT_EQ(EncodeArtItem(FakePicture(2, 1, [](int32_t, int32_t) { return kBlack; })),
              Bytes().le(0).le16(2).le16(1).le16(0).le16(0).le16(0).b);
}

TEST(ArtEncodeTest, RefusedPictures) {
    const auto red = [](int32_t, int32_t) { return RGB{255, 0, 0, 255}; };
    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{{43, 44}, {44, 45}, {0, 0}, {88, 88}})
        EXPECT_THROW(EncodeArtLand(FakePicture(width, height, red)), Failure) << width << " by " << height;
    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{{0, 5}, {5, 0}, {65536, 1}, {1, 65536}})
        EXPECT_THROW(EncodeArtItem(FakePicture(width, height, red)), Failure) << width << " by " << height;
    // Three full rows of 65535: the second row starts at 65539 words, past
    // what its 16-bit offset can say.
    EXPECT_THROW(EncodeArtItem(FakePicture(65535, 3, red)), Failure);
    // Transparent but for one pixel, rows short enough for their offsets,
    // yet more pixels than a picture may have: nothing could draw it.
    EXPECT_THROW(EncodeArtItem(FakePicture(4097, 4096, [](int32_t x, int32_t) { return x == 0 ? RGB{255, 0, 0, 255} : RGB{}; })),
                 Failure);
    EXPECT_EQ(EncodeArtItem(FakePicture(65535, 1, red)).size(), 8u + 2 + 4 + 2 * 65535 + 4);
}

using ArtLoadTest = OperationsTest;

TEST_F(ArtLoadTest, PicturesIntoTheSlot) {
    const FakePicture land(44, 44, [](int32_t x, int32_t) { return RGB{static_cast<uint8_t>(x * 5), 0, 0, 255}; });
    StoreBlock(kArt, 0x10, 3, 77, Text("abc"));
    ASSERT_TRUE(Art_LoadPicture(land, 0x10));
    ExpectBlock(kArt, 0x10, 2048, -1, EncodeArtLand(land));

    const FakePicture item(3, 2, [](int32_t x, int32_t y) { return x == y ? kBlack : RGB{0, 0, 255, 255}; });
    ASSERT_TRUE(Art_LoadPicture(item, 0x4002));
    const ByteArray bytes = EncodeArtItem(item);
    ExpectBlock(kArt, 0x4002, static_cast<int32_t>(bytes.size()), -1, bytes);
    const int32_t last = FileTypes[kArt].NbrOfBlocks;
    ASSERT_TRUE(Art_LoadPicture(item, last));
    EXPECT_EQ(PatchBlocks[kArt].Count, 3);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ArtLoadTest, RefusalsLeaveSlotAndDataFileAlone) {
    StoreBlock(kArt, 5, 3, 77, Text("abc"));
    StoreBlock(kArt, 0x4005, 3, 78, Text("def"));
    const int64_t dataBefore = DataFileHandle.Size();
    PatchBlocks[kArt].Count = 42;  // no recount on a failure
    const FakePicture small(40, 40, [](int32_t, int32_t) { return RGB{255, 0, 0, 255}; });
    const FakePicture empty(0, 3, [](int32_t, int32_t) { return kBlack; });
    EXPECT_FALSE(Art_LoadPicture(small, 5));
    EXPECT_FALSE(Art_LoadPicture(empty, 0x4005));
    EXPECT_FALSE(Art_LoadPicture(small, -1));
    EXPECT_FALSE(Art_LoadPicture(small, FileTypes[kArt].NbrOfBlocks + 1));
    EXPECT_EQ(LinesOf(LogLines(), "mArt.Art_LoadPicture").size(), 4u);
    ExpectBlock(kArt, 5, 3, 77, Text("abc"));
    ExpectBlock(kArt, 0x4005, 3, 78, Text("def"));
    EXPECT_EQ(DataFileHandle.Size(), dataBefore);
    EXPECT_EQ(PatchBlocks[kArt].Count, 42);
}

}  // namespace
}  // namespace quillet
