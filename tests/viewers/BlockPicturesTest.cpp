// The picture decoders on blocks built byte by byte here: every pixel of
// each kind, and the blocks that must not decode.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "common/Bytes.h"
#include "viewers/BlockPictures.h"
#include "viewers/mRadarCol.h"

namespace quillet {
namespace {

using test::Bytes;
using Decoder = std::function<bool(BlockPicture&, std::string&)>;

constexpr uint32_t kClear = 0;  // a transparent pixel

// The opaque pixel of a 15-bit colour, worked out here: 5 bits a channel,
// times 8, as 0xAARRGGBB.
uint32_t Argb(uint16_t colour) {
    const uint32_t red = (colour >> 10) & 31u, green = (colour >> 5) & 31u, blue = colour & 31u;
    return 0xFF000000u | red * 8 << 16 | green * 8 << 8 | blue * 8;
}
uint32_t Grey(uint32_t level) { return 0xFF000000u | level * 8 * 0x010101u; }

BlockPicture Decoded(const Decoder& decode) {
    BlockPicture picture;
    std::string why = "left over";
    EXPECT_TRUE(decode(picture, why)) << why;
    return picture;
}

// A refusal gives a reason and no picture, also where one stood before.
void ExpectRefused(const Decoder& decode, const std::string& what) {
    SCOPED_TRACE(what);
    BlockPicture picture;
    picture.Reset(2, 2);
    std::string why;
    EXPECT_FALSE(decode(picture, why));
    EXPECT_FALSE(why.empty());
    EXPECT_EQ(picture.Width, 0);
    EXPECT_EQ(picture.Height, 0);
    EXPECT_TRUE(picture.Pixels.empty());
}

// Rows of 15-bit colours, 0 for a transparent pixel.
void ExpectRows(const BlockPicture& picture, const std::vector<std::vector<uint16_t>>& rows) {
    ASSERT_EQ(picture.Height, static_cast<int32_t>(rows.size()));
    ASSERT_EQ(picture.Width, static_cast<int32_t>(rows[0].size()));
    ASSERT_EQ(picture.Pixels.size(), rows.size() * rows[0].size());
    for (int32_t y = 0; y < picture.Height; ++y)
        for (int32_t x = 0; x < picture.Width; ++x) {
            const uint16_t colour = rows[static_cast<size_t>(y)][static_cast<size_t>(x)];
            EXPECT_EQ(picture.At(x, y), colour == 0 ? kClear : Argb(colour)) << "pixel " << x << "," << y;
        }
}

Decoder Land(const ByteArray& b) {
    return [b](BlockPicture& p, std::string& w) { return DecodeArtLand(b, p, w); };
}
Decoder Item(const ByteArray& b) {
    return [b](BlockPicture& p, std::string& w) { return DecodeArtItem(b, p, w); };
}
Decoder Gump(const ByteArray& b, int32_t width, int32_t height) {
    const int32_t extra = static_cast<int32_t>(static_cast<uint32_t>(width) << 16 | static_cast<uint32_t>(height));
    return [b, extra](BlockPicture& p, std::string& w) { return DecodeGump(b, extra, p, w); };
}
Decoder Texmap(const ByteArray& b) {
    return [b](BlockPicture& p, std::string& w) { return DecodeTexmap(b, p, w); };
}
Decoder Light(const ByteArray& b, int32_t extra) {
    return [b, extra](BlockPicture& p, std::string& w) { return DecodeLight(b, extra, p, w); };
}
Decoder Hues(const ByteArray& b) {
    return [b](BlockPicture& p, std::string& w) { return DecodeHues(b, p, w); };
}
Decoder MapBlock(const ByteArray& b) {
    return [b](BlockPicture& p, std::string& w) { return DecodeMapBlock(b, p, w); };
}

TEST(BlockPicturesTest, LandTileIsADiamondOfOpaquePixels) {
    // Colour n is the n-th u16 of the block, bit 15 set on the odd ones.
    Bytes block;
    for (int n = 0; n < 1012; ++n) block.le16(n | (n % 2 ? 0x8000 : 0));
    block.fill(24, 0xEE);
    const BlockPicture tile = Decoded(Land(block.b));
    ASSERT_EQ(tile.Width, 44);
    ASSERT_EQ(tile.Height, 44);
    // Inside the diamond |2x - 43| + |2y - 43| <= 44 the colours follow one
    // another row by row (colour 0 is opaque black); outside, transparent.
    int next = 0;
    for (int32_t y = 0; y < 44; ++y)
        for (int32_t x = 0; x < 44; ++x) {
            const bool inside = std::abs(2 * x - 43) + std::abs(2 * y - 43) <= 44;
            ASSERT_EQ(tile.At(x, y), inside ? Argb(static_cast<uint16_t>(next)) : kClear) << x << "," << y;
            next += inside;
        }
    EXPECT_EQ(next, 1012);
    EXPECT_EQ(tile.At(21, 0), 0xFF000000u);
    EXPECT_EQ(tile.At(0, 21), Argb(462));  // the first of the widest rows

    EXPECT_EQ(Decoded(Land(ByteArray(2024, 0))).Pixels.size(), 44u * 44u);
    ExpectRefused(Land(ByteArray(2023, 0)), "2023 bytes");
    ExpectRefused(Land({}), "no bytes");
}

// 6 by 3. Row 0: skip 1, A B, skip 1, C. Row 1: D, gap of colour 0, E,
// skip 2, F. Row 2 has no runs: its offset is that of row 0's end mark.
ByteArray ItemWithGaps() {
    // clang-format off
    return Bytes()
        .le(0x12345678).le16(6).le16(3)
        .le16(0).le16(9).le16(7)
        .le16(1).le16(2).le16(0x0421).le16(0x7C00).le16(1).le16(1).le16(0x801F).le16(0).le16(0)
        .le16(0).le16(3).le16(0x03E0).le16(0).le16(0x1234).le16(2).le16(1).le16(0x7FFF).le16(0).le16(0)
        .b;
    // clang-format on
}

TEST(BlockPicturesTest, ItemRunsWithGapsAndTransparentColourZero) {
    ExpectRows(Decoded(Item(ItemWithGaps())),
               {{0, 0x0421, 0x7C00, 0, 0x001F, 0}, {0x03E0, 0, 0x1234, 0, 0, 0x7FFF}, {0, 0, 0, 0, 0, 0}});
    // A run that ends exactly at the right edge.
    ExpectRows(Decoded(Item(Bytes().le(0).le16(2).le16(1).le16(0).le16(1).le16(1).le16(5).le16(0).le16(0).b)),
               {{0, 5}});
}

TEST(BlockPicturesTest, BrokenItemsAreRefused) {
    const auto head = [](int width, int height) { return Bytes().le(0).le16(width).le16(height); };
    ExpectRefused(Item(ByteArray(7, 0)), "shorter than the header");
    ExpectRefused(Item(head(0, 1).le16(0).le16(0).le16(0).b), "width 0");
    ExpectRefused(Item(head(1, 0).le16(0).le16(0).b), "height 0");
    ExpectRefused(Item(head(2, 3).le16(0).le16(0).b), "row table past the end");
    ExpectRefused(Item(head(6, 1).le16(0).le16(5).le16(2).le16(1).le16(1).le16(0).le16(0).b), "run past the width");
    ExpectRefused(Item(head(6, 1).le16(0).le16(7).le16(0).le16(0).le16(0).b), "skip past the width");
    ExpectRefused(Item(head(6, 1).le16(0).le16(0).le16(3).le16(1).le16(1).b), "colours past the end");
    ExpectRefused(Item(head(6, 1).le16(0).le16(0).le16(1).le16(1).b), "no end mark");
    ExpectRefused(Item(head(6, 1).le16(3).le16(0).le16(0).b), "row offset past the end");
    // Broken in its last row, after the picture was begun.
    ByteArray cut = ItemWithGaps();
    cut[12] = 30;  // row 2 now starts past the end
    ExpectRefused(Item(cut), "last row past the end");
    // 4097 by 4096, every row empty: sound, but more pixels than a picture may have.
    Bytes huge = head(4097, 4096);
    for (int y = 0; y < 4096; ++y) huge.le16(0);
    ExpectRefused(Item(huge.le16(0).le16(0).b), "over the cap");
}

// 5 by 3: row starts 3, 6, 7; row 0 A A . B B, row 1 C x 5, row 2 D E E E E.
Bytes GumpRows() {
    // clang-format off
    return Bytes().le(3).le(6).le(7)
        .le16(0x7C00).le16(2).le16(0).le16(1).le16(0x83E0).le16(2)
        .le16(0x001F).le16(5)
        .le16(0x4210).le16(1).le16(0x0123).le16(4);
    // clang-format on
}

TEST(BlockPicturesTest, GumpRowsOfSeveralRuns) {
    ExpectRows(Decoded(Gump(GumpRows().b, 5, 3)), {{0x7C00, 0x7C00, 0, 0x03E0, 0x03E0},
                                                   {0x001F, 0x001F, 0x001F, 0x001F, 0x001F},
                                                   {0x4210, 0x0123, 0x0123, 0x0123, 0x0123}});
    // A length not a multiple of 4: the last row ends at the last whole unit.
    EXPECT_EQ(Decoded(Gump(GumpRows().u8(9).b, 5, 3)).At(4, 2), Argb(0x0123));
}

TEST(BlockPicturesTest, BrokenGumpsAreRefused) {
    const ByteArray good = GumpRows().b;
    ExpectRefused(Gump(good, 0, 3), "width 0");
    ExpectRefused(Gump(good, 5, 0), "height 0");
    ExpectRefused(Gump(good, 5, 10), "row table does not fit");
    ExpectRefused(Gump(ByteArray(good.begin(), good.begin() + 11), 5, 3), "row table cut");
    const auto edited = [&](size_t at, int32_t value) {
        Bytes b;
        b.b = good;
        StoreI32(b.b.data() + at, value);
        return b.b;
    };
    // Row 0 from unit 2 would add up (a count of 0, then its runs): only
    // that it starts inside the row table refuses it.
    ExpectRefused(Gump(edited(0, 2), 5, 3), "row 0 inside the row table");
    ExpectRefused(Gump(edited(8, 9), 5, 3), "row 2 past the block");
    ExpectRefused(Gump(edited(8, -1), 5, 3), "row 2 far past the block");
    ExpectRefused(Gump(edited(4, 3), 5, 3), "row 0 without runs");
    ExpectRefused(Gump(edited(24, 0x00040000 | 0x001F), 5, 3), "row 1 one pixel short");
    ExpectRefused(Gump(edited(24, 0x00060000 | 0x001F), 5, 3), "row 1 one pixel long");
    ExpectRefused(Gump(good, 4, 3), "narrower than the runs");
    // 4097 by 4096, each row one run of the width: sound but over the cap.
    Bytes huge;
    for (int y = 0; y < 4096; ++y) huge.le(4096 + y);
    for (int y = 0; y < 4096; ++y) huge.le16(1).le16(4097);
    ExpectRefused(Gump(huge.b, 4097, 4096), "over the cap");
    ExpectRefused(Gump(ByteArray(16, 0xFF), 0xFFFF, 0xFFFF), "claims 65535 by 65535");
}

TEST(BlockPicturesTest, TexmapsOfBothSizes) {
    for (const int side : {64, 128}) {
        SCOPED_TRACE(side);
        Bytes block;
        for (int n = 0; n < side * side; ++n) block.le16((n * 7) & 0xFFFF);
        const BlockPicture texmap = Decoded(Texmap(block.b));
        ASSERT_EQ(texmap.Width, side);
        ASSERT_EQ(texmap.Height, side);
        for (int32_t y = 0; y < side; ++y)
            for (int32_t x = 0; x < side; ++x)
                ASSERT_EQ(texmap.At(x, y), Argb(static_cast<uint16_t>((y * side + x) * 7))) << x << "," << y;
    }
    for (const size_t size : {0, 2, 8190, 8191, 8193, 8194, 16384, 32766, 32770})
        ExpectRefused(Texmap(ByteArray(size, 1)), std::to_string(size) + " bytes");
}

TEST(BlockPicturesTest, LightLevelsWidthLowHeightHigh) {
    // 3 by 2: levels 0, 1, 31 / -31, -1, and -0 (0xFF); 0xF0 after them is
    // not read. Negatives are their bits inverted.
    const ByteArray bytes{0, 1, 31, 0xE0, 0xFE, 0xFF, 0xF0};
    const BlockPicture light = Decoded(Light(bytes, 2 << 16 | 3));
    ASSERT_EQ(light.Width, 3);
    ASSERT_EQ(light.Height, 2);
    EXPECT_EQ(light.Pixels, (std::vector<uint32_t>{kClear, Grey(1), Grey(31), Grey(31), Grey(1), kClear}));
    EXPECT_EQ(Decoded(Light({0xF0, 16}, 1 << 16 | 2)).Pixels, (std::vector<uint32_t>{Grey(15), Grey(16)}));

    ExpectRefused(Light(ByteArray(5, 1), 2 << 16 | 3), "5 bytes for 6 pixels");
    ExpectRefused(Light(ByteArray(5, 1), 3), "height 0");
    ExpectRefused(Light(ByteArray(5, 1), 1 << 16), "width 0");
    ExpectRefused(Light(ByteArray(5, 1), -1), "65535 by 65535");
}

TEST(BlockPicturesTest, HuesOfBothFormsAsASwatchSheet) {
    // Colour i of hue n is 100 n + i, bit 15 set on hue 3; the table ends
    // and names are junk that a wrong stride would show.
    const auto hue = [](int n) {
        Bytes b;
        for (int i = 0; i < 32; ++i) b.le16((100 * n + i) | (n == 3 ? 0x8000 : 0));
        return b.le16(0x7777).le16(0x6666).fill(20, 0x55).b;
    };
    Bytes client, patch;
    client.le(0x11111111);
    patch.le(0);
    for (int n = 0; n < 8; ++n) {
        client.raw(hue(n));
        patch.raw(hue(n)).fill(64, 0);
    }
    ASSERT_EQ(client.b.size(), 708u);
    ASSERT_EQ(patch.b.size(), 1220u);
    for (const ByteArray& block : {client.b, patch.b}) {
        const BlockPicture sheet = Decoded(Hues(block));
        ASSERT_EQ(sheet.Width, 256);
        ASSERT_EQ(sheet.Height, 64);
        for (int32_t y = 0; y < 64; ++y)
            for (int32_t x = 0; x < 256; ++x)
                ASSERT_EQ(sheet.At(x, y), Argb(static_cast<uint16_t>(100 * (y / 8) + x / 8))) << x << "," << y;
    }
    for (const size_t size : {0, 704, 707, 709, 1219, 1221, 1416})
        ExpectRefused(Hues(ByteArray(size, 1)), std::to_string(size) + " bytes");
}

TEST(BlockPicturesTest, MapBlockInRadarColours) {
    const std::vector<int32_t> saved = RadarColors;
    // Cell i holds tile 1000 i + 3 at byte 4 + 3 i (a height byte after it).
    Bytes block;
    block.le(-1);
    for (int i = 0; i < 64; ++i) {
        block.le16(1000 * i + 3).u8(0x80);
        RadarColors[static_cast<size_t>(1000 * i + 3)] = 0x10203 * i;  // red i * 3, green i * 2, blue i
    }
    RadarColors[0xFFFF] = 0xFFFFFF;
    block.b[4 + 3 * 63] = 0xFF;
    block.b[5 + 3 * 63] = 0xFF;
    const BlockPicture map = Decoded(MapBlock(block.b));
    ASSERT_EQ(map.Width, 8);
    ASSERT_EQ(map.Height, 8);
    for (uint32_t i = 0; i < 63; ++i)
        EXPECT_EQ(map.At(static_cast<int32_t>(i % 8), static_cast<int32_t>(i / 8)),
                  0xFF000000u | 3 * i << 16 | 2 * i << 8 | i)
            << i;
    EXPECT_EQ(map.At(7, 7), 0xFFFFFFFFu);
    ExpectRefused(MapBlock(ByteArray(block.b.begin(), block.b.end() - 1)), "195 bytes");
    RadarColors = saved;
}

TEST(BlockPicturesTest, KindsByTypeAndBlock) {
    EXPECT_EQ(PictureKindOf(4, 0x3FFF), PictureKind::ArtLand);
    EXPECT_EQ(PictureKindOf(4, 0x4000), PictureKind::ArtItem);
    for (const int type : {0, 4, 10, 12, 32, 128}) EXPECT_TRUE(HasPictures(type)) << type;
    for (const int type : {2, 6, 8, 14, 16, 30, 31, 129, 1, 255}) EXPECT_FALSE(HasPictures(type)) << type;

    // Through the one entry: Extra reaches the gump, the block number picks
    // land or item, and a refusal leaves no picture.
    BlockPicture picture;
    std::string why;
    ASSERT_TRUE(DecodeBlockPicture(12, 7, 5 << 16 | 3, GumpRows().b, picture, why)) << why;
    EXPECT_EQ(picture.At(3, 0), Argb(0x03E0));
    ASSERT_TRUE(DecodeBlockPicture(4, 0x4000, 0, ItemWithGaps(), picture, why)) << why;
    EXPECT_EQ(picture.Width, 6);
    EXPECT_FALSE(DecodeBlockPicture(4, 0x3FFF, 0, ItemWithGaps(), picture, why));
    EXPECT_TRUE(picture.Pixels.empty());
    why.clear();
    EXPECT_FALSE(DecodeBlockPicture(8, 0, 0, ByteArray(100, 0), picture, why));
    EXPECT_FALSE(why.empty());
}

}  // namespace
}  // namespace quillet
