// The map and statics pages: which pixel each block gets and in what colour,
// where the drawing stops, and which blocks a rectangle removes.
#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "base/Checked.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "operations/OperationsTestUtil.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"
#include "viewers/mStatics.h"

namespace quillet {
namespace {

// A picture page over plain memory that remembers what was asked of it.
class TestPicture : public PictureSurface {
public:
    static constexpr uint32_t kBackground = 0x00ABCDEFu;  // no colour the drawing gives has an alpha of 0
    void SetWidth(int32_t w) override {
        width = w;
        pixels.assign(static_cast<size_t>(w) * 512, 0x12345678u);
    }
    void Cls() override { std::fill(pixels.begin(), pixels.end(), kBackground); }
    void Refresh() override { ++refreshes; }  // the page is shown
    Canvas hDC() override { return Canvas{pixels.data(), width, 512, width}; }
    std::vector<uint32_t> At(std::initializer_list<std::pair<size_t, size_t>> points) const {
        std::vector<uint32_t> found;
        for (const auto& [x, y] : points) found.push_back(pixels[y * static_cast<size_t>(width) + x]);
        return found;
    }
    size_t Drawn() const {
        return pixels.size() - static_cast<size_t>(std::count(pixels.begin(), pixels.end(), kBackground));
    }
    int32_t width = 700;  // none of the pages' widths: the drawing must set it
    std::vector<uint32_t> pixels = std::vector<uint32_t>(700 * 512, 0x12345678u);  // garbage until the first Cls
    int refreshes = 0;
};

// Known colours: entry n is 0x100000 + n, none of them black.
int32_t Colour(size_t index) { return static_cast<int32_t>(0x100000 + index); }
std::vector<uint32_t> Pixels(std::initializer_list<size_t> entries) {
    std::vector<uint32_t> pixels;
    for (const size_t entry : entries) pixels.push_back(CanvasPixel(Colour(entry)));
    return pixels;
}

ByteArray MapBlock(uint16_t tile, uint8_t filler = 0) {
    return test::Bytes{}.fill(4, filler).le16(tile).fill(190, filler).b;
}
// One static item record (7 bytes) per item number.
ByteArray StaticsBlock(std::initializer_list<uint16_t> items) {
    test::Bytes bytes;
    for (const uint16_t item : items) bytes.le16(item).fill(5, 0x55);
    return bytes.b;
}
int32_t BlockAt(int32_t x, int32_t y) { return x * 512 + y; }
// The blocks of the rectangle, in rising order.
std::vector<int32_t> Rect(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    std::vector<int32_t> blocks;
    for (int32_t x = x1; x <= x2; ++x)
        for (int32_t y = y1; y <= y2; ++y) blocks.push_back(BlockAt(x, y));
    return blocks;
}

constexpr int32_t kClassicLast = 393215;  // 768 x 512 blocks
constexpr int32_t kWideLast = 458751;     // 896 x 512 blocks

class MapStaticsTest : public test::OperationsTest {
protected:
    void SetUp() override {
        OperationsTest::SetUp();
        UseGrid(kWideLast);  // the ranges of current clients
        saved_ = RadarColors;
        ColourTable(65536);
    }
    // Map and Statics with blocks 0 to last, and an empty store of that size, whatever the table holds now.
    static void UseGrid(int32_t last) {
        RegisterMUL(0, "Map", 196, last, 10, PageRef::Map(), 0);
        RegisterMUL(2, "Statics", 0, last, 11, PageRef::Statics(), 0);
        CreatePatchStructures();
    }
    static void ColourTable(size_t entries) {
        RadarColors.resize(entries);
        for (size_t i = 0; i < entries; ++i) RadarColors[i] = Colour(i);
    }
    void TearDown() override {
        RadarColors = saved_;
        OperationsTest::TearDown();
    }
    void Put(int FileID, int32_t block, const ByteArray& bytes) {
        StoreBlock(FileID, block, ToLong(bytes.size()), 0, bytes);
    }
    void PutEmpty(int FileID, int32_t block, int32_t Extra = 0) { StoreBlock(FileID, block, 0, Extra, nullptr); }
    std::vector<int32_t> saved_;
};

TEST_F(MapStaticsTest, EachPageColoursItsBlocksByTheirFirstTileOrItem) {
    Put(0, 0, MapBlock(3));
    Put(0, 513, MapBlock(0x4000));
    Put(0, 393215, MapBlock(0xFFFF));  // read unsigned: the last entry, not a negative index
    Put(0, 511, MapBlock(77, 0x00));
    Put(0, 512, MapBlock(77, 0xEE));    // same first tile, other bytes: same colour
    PutEmpty(0, 1000);                  // present without bytes: nothing on the map page
    Put(2, 0, StaticsBlock({0, 500}));  // only the first item counts
    Put(2, 511, StaticsBlock({49151}));
    Put(2, 512, StaticsBlock({1234}));
    PutEmpty(2, 514);  // present without bytes: black on the statics page
    TestPicture map, statics;
    DrawMap(map);
    // 458752 blocks, drawn or not: counting points at blocks 19999 (4 %), 39999, ... 439999; as many for statics.
    ASSERT_EQ(percents.size(), 22u);
    EXPECT_EQ((std::vector<int32_t>{percents[0], percents[1], percents[21]}), (std::vector<int32_t>{4, 8, 95}));
    DrawStatics(statics);
    EXPECT_EQ(percents.size(), 44u);
    EXPECT_EQ(map.refreshes, 1);
    EXPECT_EQ(map.At({{0, 0}, {1, 1}, {767, 511}, {0, 511}, {1, 0}}), Pixels({3, 0x4000, 0xFFFF, 77, 77}));
    EXPECT_EQ(map.Drawn(), 5u);  // neither block 1000 nor statics block 514
    EXPECT_EQ(statics.refreshes, 1);
    EXPECT_EQ(statics.At({{0, 0}, {0, 511}, {1, 0}}), Pixels({16384, 65535, 1234 + 16384}));
    EXPECT_EQ(statics.At({{1, 2}}), std::vector<uint32_t>{0xFF000000u});  // present and empty: black
    EXPECT_EQ(statics.Drawn(), 4u);  // nor map blocks 513 and 393215 here
}

// Both pages are 768 wide while every Map and Statics block lies in the classic grid, 896 as soon as a block of
// either type lies beyond it, and 768 again when it goes. Block X * 512 + Y stays at column X, row Y.
TEST_F(MapStaticsTest, BothPagesWidenTo896ForABlockBeyondTheClassicGrid) {
    UseGrid(kWideLast);
    Put(0, kClassicLast, MapBlock(1));
    Put(2, 0, StaticsBlock({2}));
    const auto widths = [] {
        TestPicture map, statics;
        DrawMap(map);
        DrawStatics(statics);
        return std::pair(map.width, statics.width);
    };
    EXPECT_EQ(widths(), std::pair(768, 768));
    PutEmpty(2, 393216 + 5);  // a statics block without bytes is enough, for the map page too
    EXPECT_EQ(widths(), std::pair(896, 896));
    Slot(2, 393216 + 5).Offset = -1;
    EXPECT_EQ(widths(), std::pair(768, 768));

    Put(0, 393216, MapBlock(9));               // column 768, row 0
    Put(2, kWideLast, StaticsBlock({49151}));  // column 895, row 511
    percents.clear();
    TestPicture map, statics;
    DrawMap(map);
    DrawStatics(statics);
    EXPECT_EQ(std::pair(map.width, statics.width), std::pair(896, 896));
    EXPECT_EQ(map.At({{767, 511}, {768, 0}}), Pixels({1, 9}));
    EXPECT_EQ(statics.At({{0, 0}, {895, 511}}), Pixels({2 + 16384, 65535}));
    EXPECT_EQ(std::pair(map.Drawn(), statics.Drawn()), std::pair(size_t{2}, size_t{2}));
    // 458752 blocks: 22 counting points a page, the last at block 439999 (95 %).
    ASSERT_EQ(percents.size(), 44u);
    EXPECT_EQ(percents[21], 95);

    // With the classic ranges a block beyond the grid cannot be in the store: always 768.
    UseGrid(kClassicLast);
    EXPECT_EQ(std::pair(GridColumnsOf(0), PageColumns()), std::pair(768, 768));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MapStaticsTest, BlocksAreFoundWhereverTheyLieInTheDataFile) {
    // Stored in falling block order with other types between them, partly on disk and partly still
    // in the DataFile's buffer, and one large block that passes the read window.
    std::vector<int32_t> blocks;
    for (int32_t block = 393215; block >= 0; block -= 9973) blocks.push_back(block);
    for (size_t i = 0; i < blocks.size(); ++i) {
        Put(0, blocks[i], MapBlock(static_cast<uint16_t>(blocks[i] % 16384)));
        Put(2, blocks[i], StaticsBlock({static_cast<uint16_t>(i), 9, 9}));
        if (i == 10) Put(12, 7, ByteArray(3 * 256 * 1024, 0xAA));
        if (i == blocks.size() / 2) {
            ASSERT_TRUE(Datafile_Flush(DataFileHandle));
        }
    }
    ASSERT_FALSE(DataFileHandle.pending.empty());
    // A slot whose Size runs past the end of the DataFile reads zeros there, as a whole block's read does.
    Slot(0, 5) = PatchBlock{196, 0, static_cast<int32_t>(DataFileHandle.Size()) - 1};
    TestPicture map, statics;
    DrawMap(map);
    DrawStatics(statics);
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto x = static_cast<size_t>(blocks[i] / 512), y = static_cast<size_t>(blocks[i] % 512);
        EXPECT_EQ(map.At({{x, y}}), Pixels({static_cast<size_t>(blocks[i] % 16384)})) << blocks[i];
        EXPECT_EQ(statics.At({{x, y}}), Pixels({i + 16384})) << blocks[i];
    }
    EXPECT_EQ(map.At({{0, 5}}), Pixels({0}));
    EXPECT_EQ(map.Drawn(), blocks.size() + 1);
    EXPECT_EQ(statics.Drawn(), blocks.size());
    EXPECT_TRUE(LogLines().empty());
}

// A block too short for its tile or item number, or an item beyond the colour
// table, stops the drawing there: logged, nothing after it, no Refresh.
TEST_F(MapStaticsTest, DrawingStopsAtABlockTooShortOrAnItemBeyondTheTable) {
    Put(0, 10, MapBlock(1));
    Put(0, 600, ByteArray{0, 0, 0, 0, 9, 9});  // 6 bytes are enough
    Put(0, 700, ByteArray{0, 0, 0, 0, 9});     // 5 are not
    Put(0, 800, MapBlock(2));
    Put(2, 3, StaticsBlock({7}));
    Put(2, 4, ByteArray{0x10, 0x00});  // two bytes are enough
    Put(2, 6, StaticsBlock({8}));
    PutEmpty(2, 7);
    TestPicture map;
    DrawMap(map);
    EXPECT_EQ(map.At({{0, 10}, {1, 88}}), Pixels({1, 0x0909}));
    EXPECT_EQ(map.Drawn(), 2u);  // block 800 comes after the stop
    EXPECT_EQ(map.refreshes, 0);
    // Block 5: an item beyond the table, then one byte, too short for an item number.
    for (const ByteArray& five : {StaticsBlock({49152}), ByteArray{0x01}}) {
        Put(2, 5, five);
        TestPicture statics;
        DrawStatics(statics);
        EXPECT_EQ(statics.At({{0, 3}, {0, 4}}), Pixels({7 + 16384, 16 + 16384}));
        EXPECT_EQ(statics.Drawn(), 2u);  // blocks 6 and 7 not reached: not even black
        EXPECT_EQ(statics.refreshes, 0);
    }
    EXPECT_EQ(LoggedProcs(),
              (std::vector<std::string>{"mMap.DrawMap", "mStatics.DrawStatics", "mStatics.DrawStatics"}));
}

TEST_F(MapStaticsTest, RadarColoursAreSignedEntriesAndAShortFileEndsInBlack) {
    // Pure blue; 0xFFFF, which is -1 (blue 248 only, not white); 0x7FFF, white; then the file ends.
    test::WriteFile(Path("radarcol.mul"), ByteArray{0x1F, 0x00, 0xFF, 0xFF, 0xFF, 0x7F});
    LoadRadarColFrom(Path("radarcol.mul"));
    EXPECT_EQ(std::vector<int32_t>(RadarColors.begin(), RadarColors.begin() + 3),
              (std::vector<int32_t>{16252928, 248 * 65536, 0xF8F8F8}));
    EXPECT_EQ(std::count(RadarColors.begin() + 3, RadarColors.end(), 0), 65536 - 3);
    EXPECT_TRUE(RadarColorsFound());
    // A missing file: all black, and the front ends can say why.
    LoadRadarColFrom(Path("none.mul"));
    EXPECT_EQ(std::count(RadarColors.begin(), RadarColors.end(), 0), 65536);
    EXPECT_FALSE(RadarColorsFound());
    EXPECT_TRUE(LogLines().empty());
}

// The table holds the file's whole entries, at least 65536 (the rest black) and at most 0x14000, the highest
// index a static item reaches: a High Seas file colours the items from 49152 on, a classic one stops the drawing.
TEST_F(MapStaticsTest, RadarColoursHoldTheFilesEntriesFrom65536To0x14000) {
    // White at 65535, blue at 65536, green at 0x13FFF, red at 0x14000 (beyond the table).
    const auto load = [&](size_t entries, size_t extraBytes = 0) {
        ByteArray file(entries * 2 + extraBytes, 0);
        const std::pair<size_t, uint16_t> set[] = {
            {65535, 0x7FFF}, {65536, 0x001F}, {0x13FFF, 0x03E0}, {0x14000, 0x7C00}};
        for (const auto& [index, value] : set)
            if (index < entries)
                file[index * 2] = static_cast<uint8_t>(value), file[index * 2 + 1] = static_cast<uint8_t>(value >> 8);
        test::WriteFile(Path("radarcol.mul"), file);
        LoadRadarColFrom(Path("radarcol.mul"));
        return RadarColors.size();
    };
    const int32_t white = 0xF8F8F8, blue = 248 * 65536, green = 248 * 256;
    EXPECT_EQ(load(65536), 65536u);
    EXPECT_EQ(RadarColors[65535], white);
    EXPECT_EQ(load(70000, 1), 70000u);  // a half entry at the end is none
    EXPECT_EQ(RadarColors[65536], blue);
    EXPECT_EQ(load(0x14000 + 9), 0x14000u);
    EXPECT_EQ((std::vector<int32_t>{RadarColors[65536], RadarColors[0x13FFF]}), (std::vector<int32_t>{blue, green}));

    Put(2, 0, StaticsBlock({49152}));
    Put(2, 1, StaticsBlock({65535}));
    TestPicture statics;
    DrawStatics(statics);
    EXPECT_EQ(statics.At({{0, 0}, {0, 1}}), (std::vector<uint32_t>{CanvasPixel(blue), CanvasPixel(green)}));
    EXPECT_EQ(statics.refreshes, 1);
    // A classic file again: the table shrinks back, and item 49152 has no colour.
    EXPECT_EQ(load(3), 65536u);
    EXPECT_EQ(std::count(RadarColors.begin(), RadarColors.end(), 0), 65536);
    TestPicture classic;
    DrawStatics(classic);
    EXPECT_EQ(classic.refreshes, 0);
    EXPECT_EQ(LoggedProcs(), std::vector<std::string>{"mStatics.DrawStatics"});
}

// On a grid of 896 columns a rectangle reaches column 895; a range that ends inside its last column ends there.
TEST_F(MapStaticsTest, OnAWideGridRectanglesReachTheLastColumn) {
    UseGrid(kWideLast);
    for (const int FileID : {0, 2}) {
        for (const int32_t x : {767, 768, 895})
            for (const int32_t y : {0, 511}) Put(FileID, BlockAt(x, y), MapBlock(1));
        RecountBlocks(FileID);
    }
    std::array<int32_t, 4> at{900, 511, 800, 0};
    Map_ClearBlocks(at[0], at[1], at[2], at[3]);
    EXPECT_EQ(at, (std::array<int32_t, 4>{800, 0, 895, 511}));
    EXPECT_EQ(ListedBlocks(0),
              (std::vector<int32_t>{BlockAt(767, 0), BlockAt(767, 511), BlockAt(768, 0), BlockAt(768, 511)}));
    EXPECT_EQ(PatchBlocks[0].Count, 4);
    at = {768, 0, 5000, 0};
    Statics_ClearBlocks(at[0], at[1], at[2], at[3]);
    EXPECT_EQ(at, (std::array<int32_t, 4>{768, 0, 895, 0}));
    EXPECT_EQ(ListedBlocks(2),
              (std::vector<int32_t>{BlockAt(767, 0), BlockAt(767, 511), BlockAt(768, 511), BlockAt(895, 511)}));

    UseGrid(kWideLast - 100);  // column 895 holds rows 0 to 411 only
    Put(0, kWideLast - 100, MapBlock(1));
    at = {0, 0, 5000, 5000};
    Map_ClearBlocks(at[0], at[1], at[2], at[3]);
    EXPECT_EQ(at, (std::array<int32_t, 4>{0, 0, 895, 511}));
    EXPECT_TRUE(ListedBlocks(0).empty());
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MapStaticsTest, RectanglesInAnyOrderAndCutAtTheEdgesClearTheirTypesBlocks) {
    UseGrid(kClassicLast);  // the cut at column 767 of a classic table
    // Columns 0-2 and 765-767, rows 0-2 and 509-511 of both types, each with
    // data, and block (10, 10) empty; Extra tells the blocks apart.
    const auto fill = [&] {
        for (const int FileID : {0, 2}) {
            for (const int32_t x : {0, 1, 2, 765, 766, 767})
                for (const int32_t y : {0, 1, 2, 509, 510, 511})
                    StoreBlock(FileID, BlockAt(x, y), 196, BlockAt(x, y) + 7, MapBlock(1));
            PutEmpty(FileID, BlockAt(10, 10), BlockAt(10, 10) + 7);
            RecountBlocks(FileID);
        }
        return ListedBlocks(0);
    };
    const struct {
        decltype(&Map_ClearBlocks) clear;
        int FileID;
        std::array<int32_t, 4> given, after;  // the arguments as the call leaves them
        std::vector<int32_t> gone;
    } cases[] = {
        {Map_ClearBlocks, 0, {2, 2, 1, 1}, {1, 1, 2, 2}, Rect(1, 1, 2, 2)},
        {Statics_ClearBlocks, 2, {1, 2, 2, 1}, {1, 1, 2, 2}, Rect(1, 1, 2, 2)},
        {Map_ClearBlocks, 0, {-5, -7, 0, 1}, {0, 0, 0, 1}, Rect(0, 0, 0, 1)},
        // Y is cut at 511: column 2's rectangle does not run on into column 3.
        {Map_ClearBlocks, 0, {2, 510, 2, 900}, {2, 510, 2, 511}, Rect(2, 510, 2, 511)},
        {Statics_ClearBlocks, 2, {800, 2, 767, 0}, {767, 0, 767, 2}, Rect(767, 0, 767, 2)},
        {Statics_ClearBlocks, 2, {10, 10, 10, 10}, {10, 10, 10, 10}, Rect(10, 10, 10, 10)},  // one, present and empty
        {Map_ClearBlocks, 0, {768, 0, 900, 511}, {768, 0, 767, 511}, {}},  // wholly beyond X 767
        {Map_ClearBlocks, 0, {-1, -1, -1, -1}, {-1, -1, -1, -1}, {}},      // no selection
        {Map_ClearBlocks, 0, {0, -9, 5, -3}, {0, -9, 5, -3}, {}},          // wholly above the picture
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.given));
        const std::vector<int32_t> all = fill();
        std::array<int32_t, 4> at = c.given;
        c.clear(at[0], at[1], at[2], at[3]);
        EXPECT_EQ(at, c.after);
        std::vector<int32_t> left;  // both in rising order
        std::set_difference(all.begin(), all.end(), c.gone.begin(), c.gone.end(), std::back_inserter(left));
        EXPECT_EQ(ListedBlocks(c.FileID), left);
        EXPECT_EQ(PatchBlocks[static_cast<size_t>(c.FileID)].Count, static_cast<int32_t>(left.size()));
        EXPECT_EQ(ListedBlocks(2 - c.FileID), all);  // the other type is untouched
        for (const int32_t block : c.gone)  // Size and Extra keep their values
            EXPECT_EQ(std::pair(Slot(c.FileID, block).Size, Slot(c.FileID, block).Extra),
                      std::pair(block == BlockAt(10, 10) ? 0 : 196, block + 7));
    }
    // A store with fewer slots than the grid: the slot beyond them fails, logged with the arguments as
    // they are by then. Slots changed before stay changed (column 0, column 1 to its last slot); no recount.
    PatchBlocks[0].Blocks.resize(515);
    PatchBlocks[0].Count = 999;
    std::array<int32_t, 4> at{1, 3, 0, 0};
    Map_ClearBlocks(at[0], at[1], at[2], at[3]);
    EXPECT_EQ(Slot(0, BlockAt(0, 2)).Offset, -1);
    EXPECT_EQ(Slot(0, BlockAt(1, 2)).Offset, -1);
    EXPECT_EQ(PatchBlocks[0].Count, 999);
    ASSERT_EQ(LoggedProcs(), std::vector<std::string>{"mMap.Map_ClearBlocks(0,0,1,3)"});
    EXPECT_NE(LogLines()[0].find(": Subscript out of range"), std::string::npos) << LogLines()[0];
}

}  // namespace
}  // namespace quillet
